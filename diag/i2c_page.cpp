#include "app/main_window.h"
#include "device/hex.h"
#include "diag/diag_calls.h"
#include "diag/i2c_bytes.h"
#include "ui_main_window.h"

#include <QDebug>

namespace {

QByteArray spaced(const QByteArray& bytes) { return bytes.toHex(' ').toUpper(); }

QByteArray bytesIn(const QLineEdit& field) { return diag::bigEndianBytes(device::hexOrZero(field.text())); }

// What both buttons begin with. Empty, and told so, when the address is none.
struct I2cRegister {
  std::uint8_t slave;
  QByteArray index;
};

std::optional<I2cRegister> typedRegister(const Ui_MainWindow& ui) {
  const auto slave = diag::slaveAddress(device::hexOrZero(ui.lineEdit_I2C_Addr->text()));
  if (!slave) {
    ui.LB_Message->setText(QStringLiteral("Error Address...[Fail]"));
    return std::nullopt;
  }
  I2cRegister typed{*slave, bytesIn(*ui.lineEdit_I2C_Reg)};
  qDebug("Reg: %s", spaced(typed.index).constData());
  return typed;
}

int readWidth(const Ui_MainWindow& ui) {
  if (ui.RB_I2C_Read_2B->isChecked()) {
    return 2;
  }
  if (ui.RB_I2C_Read_3B->isChecked()) {
    return 3;
  }
  return ui.RB_I2C_Read_4B->isChecked() ? 4 : 1;
}

}  // namespace

void MainWindow::slotI2C_Read() {
  const auto typed = typedRegister(*ui);
  if (!typed) {
    return;
  }
  qDebug("I2C: wr len %d", typed->index.size());
  const auto value = diag::readRegister(typed->slave, typed->index, readWidth(*ui));
  if (!value) {
    ui->LB_Message->setText(QStringLiteral("I2C Error"));
    return;
  }
  ui->lineEdit_I2C_Value->setText(diag::hexNumber(*value));
}

void MainWindow::slotI2C_Write() {
  const auto typed = typedRegister(*ui);
  if (!typed) {
    return;
  }
  const QByteArray value = bytesIn(*ui->lineEdit_I2C_Value);
  qDebug("Val: %s", spaced(value).constData());
  const auto written = diag::writeRegister(typed->slave, typed->index, value);
  ui->LB_Message->setText(written ? QStringLiteral("I2C Write Done") : QStringLiteral("I2C Error"));
}
