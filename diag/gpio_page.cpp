#include "app/main_window.h"
#include "device/hex.h"
#include "diag/diag_calls.h"
#include "ui_main_window.h"
#include "video/video_calls.h"

#include <tuple>

namespace {

std::uint8_t pin(const Ui_MainWindow& ui) { return static_cast<std::uint8_t>(ui.CB_GPIO_INDEX->currentIndex()); }

diag::GpioGroup group(const Ui_MainWindow& ui) {
  return ui.RB_GPIO_ISO->isChecked() ? diag::GpioGroup::kIso : diag::GpioGroup::kMisc;
}

}  // namespace

void MainWindow::slotGPIO_Read() {
  const auto value = diag::readPin(group(*ui), pin(*ui));
  if (!value) {
    ui->LB_Message->setText(QStringLiteral("Read GPIO Error"));
    return;
  }
  // Decimal, although the write below takes the same field as hexadecimal.
  ui->lineEdit_GPIO_Value->setText(QString::number(*value));
  ui->LB_Message->setText(QStringLiteral("Read GPIO%1 [done]").arg(pin(*ui)));
}

void MainWindow::slotGPIO_Write() {
  // Of a number that is too large the low byte is sent.
  const auto value = static_cast<std::uint8_t>(device::hexOrZero(ui->lineEdit_GPIO_Value->text()));
  if (!diag::writePin(group(*ui), pin(*ui), value)) {
    ui->LB_Message->setText(QStringLiteral("Write GPIO Error"));
    return;
  }
  ui->LB_Message->setText(QStringLiteral("Write GPIO%1 [done]").arg(pin(*ui)));
}

void MainWindow::slotTx_HDCP_Ctrl() {
  if (sender() == ui->RB_TX_HDCP_ON) {
    std::ignore = video::setTransmitterHdcp(true);
  } else if (sender() == ui->RB_TX_HDCP_OFF) {
    std::ignore = video::setTransmitterHdcp(false);
  }
}
