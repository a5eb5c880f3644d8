#include "app/main_window.h"
#include "device/RTICE_SDK_x64.h"
#include "ui_main_window.h"

namespace {

std::uint8_t pin(const Ui_MainWindow& ui) { return static_cast<std::uint8_t>(ui.CB_GPIO_INDEX->currentIndex()); }

std::uint8_t group(const Ui_MainWindow& ui) { return ui.RB_GPIO_ISO->isChecked() ? 0 : 1; }

}  // namespace

void MainWindow::slotGPIO_Read() {
  std::uint8_t value = 0;
  if (AT_GPIO_Get_Param(group(*ui), pin(*ui), &value) != 0) {
    ui->LB_Message->setText(QStringLiteral("Read GPIO Error"));
    return;
  }
  // Decimal, although the write below takes the same field as hexadecimal.
  ui->lineEdit_GPIO_Value->setText(QString::number(value));
  ui->LB_Message->setText(QStringLiteral("Read GPIO%1 [done]").arg(pin(*ui)));
}

void MainWindow::slotGPIO_Write() {
  // A text that is not a number counts as 0; of a number the low byte is sent.
  const auto value = static_cast<std::uint8_t>(ui->lineEdit_GPIO_Value->text().toUInt(nullptr, 16));
  if (AT_GPIO_Set_Param(group(*ui), pin(*ui), value) != 0) {
    ui->LB_Message->setText(QStringLiteral("Write GPIO Error"));
    return;
  }
  ui->LB_Message->setText(QStringLiteral("Write GPIO%1 [done]").arg(pin(*ui)));
}

void MainWindow::slotTx_HDCP_Ctrl() {
  if (sender() == ui->RB_TX_HDCP_ON) {
    AT_SetHDMI_HDCP_OnOff(1);
  } else if (sender() == ui->RB_TX_HDCP_OFF) {
    AT_SetHDMI_HDCP_OnOff(0);
  }
}
