#include "simulator/control/control.h"
#include "tests/support/journal.h"
#include "tests/support/window_fixture.h"

#include <QTest>

#include <climits>

namespace {

constexpr const char* kOperation = "AT_HdmiRX_GetRawTimingInfo";

using Shown = QVector<std::pair<QString, QString>>;

const QStringList kLabels{
    "label_SCAN",  "label_HTotal", "label_VTotal", "label_HActive",  "label_VActive", "label_HS",   "label_VS",
    "label_HFreq", "label_VFreq",  "label_TMDS",   "label_PCLK1024", "label_HSP",     "label_VSP",  "label_HDMI_MODE",
    "label_CS",    "label_CD",     "label_CR",     "label_CM",       "label_CM2",     "label_HDCP", "label_HDR"};

QStringList shown(const WindowDriver& user) {
  QStringList texts;
  for (const QString& label : kLabels) {
    texts << user.text(label);
  }
  return texts;
}

// The bytes of a record, field by field in its order.
std::vector<std::uint8_t> record() {
  return {0xFF,                    // flags: only bit 0 is read
          0xEE,                    // reserved
          0x65, 0x04, 0x98, 0x08,  // totals: 1125, 2200
          0x38, 0x04, 0x80, 0x07,  // active: 1080, 1920
          0x29, 0x00, 0xC0, 0x00,  // start: 41, 192
          0x70, 0x17, 0xA6, 0x1A,  // frequencies: 6000, 6822
          0x31,                    // HDR
          0x05, 0x00, 0x2C, 0x00,  // sync: 5, 44
          0x02,                    // mode
          0x01, 0x03, 0x02,        // depth, space, range
          0x07, 0xC8,              // colorimetry
          0x02,                    // HDCP
          0xFF, 0xFF,              // TMDS clock
          0xFF, 0xFF, 0xFF, 0xFF,  // pixel clock
          0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA};
}

const QStringList kRecordTexts{
    "interlace", "2200",  "1125",  "1920",       "1080", "192",         "41",
    "6822",      "6000",  "65535", "4294967295", "5",    "N/A",         "HDMI 2.1",
    "YUV420",    "10bit", "full",  "7",          "200",  "HDCP2.2/2.3", "Dolby Vision Low Latency"};

}  // namespace

class RxInfoPageTest : public WindowTest {
  Q_OBJECT

 private slots:
  void withoutASessionNothingHappens() {
    user.click("BN_Info_Read");
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(user.message(), "");
    for (const QString& text : shown(user)) {
      QCOMPARE(text, "N/A");
    }
  }

  void everyFieldOfTheRecordReachesItsLabel() {
    user.click("BN_Connect");
    simulator::answerCall(kOperation, 1, 0, record());
    user.click("BN_Info_Read");
    QCOMPARE(shown(user), kRecordTexts);
    QCOMPARE(user.message(), "HdmiRX_GetRawTimingInfo  [OK]");
  }

  void aFailedReadKeepsTheValuesShown() {
    user.click("BN_Connect");
    simulator::answerCall(kOperation, 1, 0, record());
    user.click("BN_Info_Read");
    unsigned call = 1;
    for (const std::int32_t status : {1, -1, INT_MIN, INT_MAX}) {
      simulator::answerCall(kOperation, ++call, status, std::vector<std::uint8_t>(48, 0x55));
      user.widget<QLabel>("LB_Message").setText("before");
      user.click("BN_Info_Read");
      QCOMPARE(user.message(), "HdmiRX_GetRawTimingInfo  [fail]");
      QCOMPARE(shown(user), kRecordTexts);
    }
  }

  void everyReadIsFresh() {
    connectDevice();
    for (int i = 0; i < 3; ++i) {
      user.click("BN_Info_Read");
    }
    QCOMPARE(journalOperations(), (QStringList{kOperation, kOperation, kOperation}));
  }

  void aBufferLeftUntouchedIsReadAsZeros() {
    user.click("BN_Connect");
    simulator::answerCall(kOperation, 1, 0, {});
    user.click("BN_Info_Read");
    QCOMPARE(user.text("label_SCAN"), "progressive");
    QCOMPARE(user.text("label_HTotal"), "0");
    QCOMPARE(user.text("label_HDMI_MODE"), "DVI");
  }

  // The signal's published numbers on the simulated device.
  void theSignalIsShown() {
    loadDevice(R"({"inputs": {"hdmi": "1080p60"}})");
    user.click("BN_Connect");
    user.click("BN_Info_Read");
    QCOMPARE(user.text("label_SCAN"), "progressive");
    QCOMPARE(user.text("label_HTotal"), "2200");
    QCOMPARE(user.text("label_VTotal"), "1125");
    QCOMPARE(user.text("label_HActive"), "1920");
    QCOMPARE(user.text("label_VActive"), "1080");
    QCOMPARE(user.text("label_HSP"), "5");
    QCOMPARE(user.text("label_VSP"), "N/A");
    QCOMPARE(user.text("label_HDMI_MODE"), "HDMI 1.4/2.0");
    QCOMPARE(user.text("label_CS"), "RGB");
    QCOMPARE(user.text("label_CD"), "8bit");
    QCOMPARE(user.text("label_HDR"), "SDR");
  }
};

QTEST_MAIN(RxInfoPageTest)
#include "rx_info_page_test.moc"
