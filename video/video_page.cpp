#include "app/main_window.h"
#include "device/RTICE_SDK_x64.h"
#include "ui_main_window.h"
#include "video/video_status.h"

#include <array>

void MainWindow::slot_switchInputSrc() {
  const std::uint8_t source = sender() == ui->RB_Src_DP ? 1 : 0;
  AT_Input_Source_Switch(&source);
}

void MainWindow::slot_Set_RxHPD() {
  if (sender() == ui->BN_RX_HPD_ON) {
    AT_HdmiRX_Set_HPD(1);
  } else if (sender() == ui->BN_RX_HPD_OFF) {
    AT_HdmiRX_Set_HPD(0);
  }
}

void MainWindow::slot_Read_VideoInfo() {
  std::uint8_t source = 0;
  if (AT_Get_Current_Input_Source(&source) != 0) {
    ui->LB_Message->setText(QStringLiteral("Read Input Source...[fail]"));
    return;
  }
  // Moving the buttons does not click them: the device is not switched.
  ui->RB_Src_HDMI->setChecked(source == 0);
  ui->RB_Src_DP->setChecked(source != 0);

  std::int32_t hotPlug = 0;
  if (AT_HdmiTX_Get_HPD_Status(&hotPlug) != 0) {
    ui->LB_Message->setText(QStringLiteral("Read HPD Status...[fail]"));
    return;
  }
  ui->label_TX_HPD->setText(hotPlug == 1 ? QStringLiteral("Active") : QStringLiteral("None"));

  std::array<std::uint8_t, 128> record{};
  static_assert(record.size() >= video::kUvcOutputTimingBytes);
  if (AT_UVC_Get_Output_Timing(record.data()) != 0) {
    ui->LB_Message->setText(QStringLiteral("Read Output Timming...[fail]"));
    return;
  }

  std::uint8_t format = 0;
  if (AT_UVC_Get_VideoFormat(&format) != 0) {
    ui->LB_Message->setText(QStringLiteral("Read UVC Format...[fail]"));
    return;
  }
  // The timing waits for the format, so that both labels tell of one read.
  ui->label_TX_UVC_Format->setText(video::uvcFormatText(format));
  ui->label_TX_OutputTimming->setText(video::uvcTimingText(*video::readUvcOutputTiming(record)));

  std::array<std::uint8_t, 128> hdcp{};
  if (AT_Get_RX_TX_HDCP_Version(hdcp.data()) != 0) {
    ui->LB_Message->setText(QStringLiteral("Read HDCP status...[fail]"));
    return;
  }
  ui->label_RX_HDCP->setText(video::hdcpVersionText(hdcp[0]));
  ui->label_TX_HDCP->setText(video::hdcpVersionText(hdcp[1]));
  const bool txHdcpOn = video::isTxHdcpOn(hdcp[1]);
  ui->RB_TX_HDCP_ON->setChecked(txHdcpOn);
  ui->RB_TX_HDCP_OFF->setChecked(!txHdcpOn);
}
