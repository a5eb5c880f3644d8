#include "app/main_window.h"
#include "ui_main_window.h"
#include "video/video_calls.h"

#include <tuple>

void MainWindow::slot_switchInputSrc() {
  std::ignore = video::setInputSource(sender() == ui->RB_Src_DP ? video::InputSource::kDp : video::InputSource::kHdmi);
}

void MainWindow::slot_Set_RxHPD() {
  if (sender() == ui->BN_RX_HPD_ON) {
    std::ignore = video::setReceiverHotPlug(true);
  } else if (sender() == ui->BN_RX_HPD_OFF) {
    std::ignore = video::setReceiverHotPlug(false);
  }
}

void MainWindow::slot_Read_VideoInfo() {
  const auto source = video::readInputSource();
  if (!source) {
    ui->LB_Message->setText(QStringLiteral("Read Input Source...[fail]"));
    return;
  }
  // Moving the buttons does not click them: the device is not switched.
  ui->RB_Src_HDMI->setChecked(*source == video::InputSource::kHdmi);
  ui->RB_Src_DP->setChecked(*source == video::InputSource::kDp);

  const auto hotPlug = video::readTransmitterHotPlug();
  if (!hotPlug) {
    ui->LB_Message->setText(QStringLiteral("Read HPD Status...[fail]"));
    return;
  }
  ui->label_TX_HPD->setText(video::isSinkPresent(*hotPlug) ? QStringLiteral("Active") : QStringLiteral("None"));

  const auto timing = video::readOutputTiming();
  if (!timing) {
    ui->LB_Message->setText(QStringLiteral("Read Output Timming...[fail]"));
    return;
  }

  const auto format = video::readOutputFormat();
  if (!format) {
    ui->LB_Message->setText(QStringLiteral("Read UVC Format...[fail]"));
    return;
  }
  // Show both only after both reads succeeded.
  ui->label_TX_UVC_Format->setText(video::uvcFormatText(*format));
  ui->label_TX_OutputTimming->setText(video::uvcTimingText(*timing));

  const auto hdcp = video::readHdcpVersions();
  if (!hdcp) {
    ui->LB_Message->setText(QStringLiteral("Read HDCP status...[fail]"));
    return;
  }
  ui->label_RX_HDCP->setText(video::hdcpVersionText(hdcp->receiver));
  ui->label_TX_HDCP->setText(video::hdcpVersionText(hdcp->transmitter));
  const bool txHdcpOn = video::isTxHdcpOn(hdcp->transmitter);
  ui->RB_TX_HDCP_ON->setChecked(txHdcpOn);
  ui->RB_TX_HDCP_OFF->setChecked(!txHdcpOn);
}
