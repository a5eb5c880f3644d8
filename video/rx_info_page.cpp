#include "app/main_window.h"
#include "ui_main_window.h"
#include "video/video_calls.h"

namespace {

using video::RxField;

struct RxLabel {
  QLabel* Ui_MainWindow::*label;
  RxField field;
};

// In the order in which they are written. Both pulse widths go to the same
// label, where the vertical one stays; label_VSP is never written.
constexpr RxLabel kRxLabels[] = {
    {&Ui_MainWindow::label_SCAN, RxField::kScan},
    {&Ui_MainWindow::label_HTotal, RxField::kHTotal},
    {&Ui_MainWindow::label_VTotal, RxField::kVTotal},
    {&Ui_MainWindow::label_HActive, RxField::kHActive},
    {&Ui_MainWindow::label_VActive, RxField::kVActive},
    {&Ui_MainWindow::label_HS, RxField::kHStart},
    {&Ui_MainWindow::label_VS, RxField::kVStart},
    {&Ui_MainWindow::label_HFreq, RxField::kHFreq},
    {&Ui_MainWindow::label_VFreq, RxField::kVFreq},
    {&Ui_MainWindow::label_TMDS, RxField::kTmdsClock},
    {&Ui_MainWindow::label_PCLK1024, RxField::kPllPixelClock},
    {&Ui_MainWindow::label_HSP, RxField::kHSyncPulse},
    {&Ui_MainWindow::label_HSP, RxField::kVSyncPulse},
    {&Ui_MainWindow::label_HDMI_MODE, RxField::kHdmiMode},
    {&Ui_MainWindow::label_CS, RxField::kColorSpace},
    {&Ui_MainWindow::label_CD, RxField::kColorDepth},
    {&Ui_MainWindow::label_CR, RxField::kColorRange},
    {&Ui_MainWindow::label_CM, RxField::kColorimetry},
    {&Ui_MainWindow::label_CM2, RxField::kExtColorimetry},
    {&Ui_MainWindow::label_HDCP, RxField::kHdcpVersion},
    {&Ui_MainWindow::label_HDR, RxField::kHdrType},
};

}  // namespace

void MainWindow::on_BN_Info_Read_clicked() {
  if (!isConnected) {
    return;
  }
  const auto info = video::readReceiverRecord();
  if (!info) {
    ui->LB_Message->setText(QStringLiteral("HdmiRX_GetRawTimingInfo  [fail]"));
    return;
  }
  for (const RxLabel& row : kRxLabels) {
    (ui.get()->*row.label)->setText(video::fieldText(row.field, *info));
  }
  ui->LB_Message->setText(QStringLiteral("HdmiRX_GetRawTimingInfo  [OK]"));
}
