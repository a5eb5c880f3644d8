#include "app/main_window.h"
#include "device/RTICE_SDK_x64.h"
#include "ui_main_window.h"
#include "video/rx_timing.h"

#include <array>

void MainWindow::on_BN_Info_Read_clicked() {
  if (!isConnected) {
    return;
  }

  std::array<std::uint8_t, RTICE_RAW_TIMING_INFO_SIZE> record{};
  static_assert(record.size() >= video::kRawTimingInfoBytes);
  if (AT_HdmiRX_GetRawTimingInfo(record.data()) != 0) {
    ui->LB_Message->setText(QStringLiteral("HdmiRX_GetRawTimingInfo  [fail]"));
    return;
  }

  const video::HdmiRxRawTimingInfo info = *video::readRawTimingInfo(record);
  ui->label_SCAN->setText(video::scanText(info.flags));
  ui->label_HTotal->setText(QString::number(info.hTotal));
  ui->label_VTotal->setText(QString::number(info.vTotal));
  ui->label_HActive->setText(QString::number(info.hActive));
  ui->label_VActive->setText(QString::number(info.vActive));
  ui->label_HS->setText(QString::number(info.hStart));
  ui->label_VS->setText(QString::number(info.vStart));
  ui->label_HFreq->setText(QString::number(info.hFreq));
  ui->label_VFreq->setText(QString::number(info.vFreq));
  ui->label_TMDS->setText(QString::number(info.tmdsClock));
  ui->label_PCLK1024->setText(QString::number(info.pllPixelClockX1024));
  // Both pulse widths go to the same label, where the vertical one stays;
  // label_VSP is never written.
  ui->label_HSP->setText(QString::number(info.hSyncPulse));
  ui->label_HSP->setText(QString::number(info.vSyncPulse));
  ui->label_HDMI_MODE->setText(video::hdmiModeText(info.hdmiMode));
  ui->label_CS->setText(video::colorSpaceText(info.colorSpace));
  ui->label_CD->setText(video::colorDepthText(info.colorDepth));
  ui->label_CR->setText(video::colorRangeText(info.colorRange));
  ui->label_CM->setText(QString::number(info.colorimetry));
  ui->label_CM2->setText(QString::number(info.extColorimetry));
  ui->label_HDCP->setText(video::rxHdcpText(info.hdcpVersion));
  ui->label_HDR->setText(video::hdrText(info.hdrType));
  ui->LB_Message->setText(QStringLiteral("HdmiRX_GetRawTimingInfo  [OK]"));
}
