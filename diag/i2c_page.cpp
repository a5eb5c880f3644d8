#include "app/main_window.h"
#include "device/RTICE_SDK_x64.h"
#include "device/ext_mcu_channel.h"
#include "diag/i2c_bytes.h"
#include "ui_main_window.h"

#include <QDebug>

namespace {

const std::uint8_t* pointer(const QByteArray& bytes) {
  return reinterpret_cast<const std::uint8_t*>(bytes.constData());
}

QByteArray spaced(const QByteArray& bytes) { return bytes.toHex(' ').toUpper(); }

}  // namespace

void MainWindow::slotI2C_Read() {
  const auto slave = diag::slaveAddress(diag::hexField(ui->lineEdit_I2C_Addr->text()));
  const QByteArray registerBytes = diag::bigEndianBytes(diag::hexField(ui->lineEdit_I2C_Reg->text()));
  if (!slave) {
    ui->LB_Message->setText(QStringLiteral("Error Address...[Fail]"));
    return;
  }
  qDebug("Reg: %s", spaced(registerBytes).constData());
  qDebug("I2C: wr len %d", registerBytes.size());

  int width = 1;
  if (ui->RB_I2C_Read_2B->isChecked()) {
    width = 2;
  } else if (ui->RB_I2C_Read_3B->isChecked()) {
    width = 3;
  } else if (ui->RB_I2C_Read_4B->isChecked()) {
    width = 4;
  }
  QByteArray value(width, '\0');
  if (AT_System_Get_ExternalMCU_cmd(device::kI2cBus, *slave, static_cast<unsigned int>(registerBytes.size()),
                                    pointer(registerBytes), static_cast<unsigned int>(width),
                                    reinterpret_cast<std::uint8_t*>(value.data())) != 0) {
    ui->LB_Message->setText(QStringLiteral("I2C Error"));
    return;
  }
  ui->lineEdit_I2C_Value->setText(diag::hexNumber(value));
}

void MainWindow::slotI2C_Write() {
  const auto slave = diag::slaveAddress(diag::hexField(ui->lineEdit_I2C_Addr->text()));
  const QByteArray registerBytes = diag::bigEndianBytes(diag::hexField(ui->lineEdit_I2C_Reg->text()));
  const QByteArray valueBytes = diag::bigEndianBytes(diag::hexField(ui->lineEdit_I2C_Value->text()));
  if (!slave) {
    ui->LB_Message->setText(QStringLiteral("Error Address...[Fail]"));
    return;
  }
  qDebug("Reg: %s", spaced(registerBytes).constData());
  qDebug("Val: %s", spaced(valueBytes).constData());

  const QByteArray bytes = registerBytes + valueBytes;
  const bool failed = AT_System_Send_ExternalMCU_cmd(device::kI2cBus, *slave, static_cast<std::uint16_t>(bytes.size()),
                                                     pointer(bytes)) != 0;
  ui->LB_Message->setText(failed ? QStringLiteral("I2C Error") : QStringLiteral("I2C Write Done"));
}
