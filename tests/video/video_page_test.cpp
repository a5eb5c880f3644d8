#include "simulator/control/control.h"
#include "tests/support/journal.h"
#include "tests/support/window_fixture.h"

#include <QRadioButton>
#include <QTest>

#include <climits>

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Answer {
  const char* operation;
  Bytes bytes;
  const char* failure;
};

// The reads in order, answered by a device with everything on and by one with different
// values.
const std::vector<Answer> kFirstDevice{
    {"AT_Get_Current_Input_Source", {1}, "Read Input Source...[fail]"},
    {"AT_HdmiTX_Get_HPD_Status", {1, 0, 0, 0}, "Read HPD Status...[fail]"},
    {"AT_UVC_Get_Output_Timing", {0x80, 7, 0, 0, 0x38, 4, 0, 0, 0x6A, 0x17, 0, 0}, "Read Output Timming...[fail]"},
    {"AT_UVC_Get_VideoFormat", {8}, "Read UVC Format...[fail]"},
    {"AT_Get_RX_TX_HDCP_Version", {1, 2}, "Read HDCP status...[fail]"},
};
const std::vector<Bytes> kSecondDevice{{0}, {0, 0, 0, 0}, {0, 5, 0, 0, 0xD0, 2, 0, 0, 0x70, 0x17, 0, 0}, {4}, {0, 3}};

// What the page shows for the first and the second device, step by step.
const QStringList kFirstShown{"DP", "Active", "MJPEG 1920x1080@59", "HDCP1.3/1.4 HDCP2.2/2.3 on"};
const QStringList kSecondShown{"HDMI", "None", "YUYV 1280x720@60", "No HDCP HDCP OFF off"};

QString checkedOf(const WindowDriver& user, const char* first, const char* firstText, const char* second,
                  const char* secondText) {
  const bool one = user.widget<QRadioButton>(first).isChecked();
  const bool other = user.widget<QRadioButton>(second).isChecked();
  return one == other ? QStringLiteral("undecided") : QLatin1String(one ? firstText : secondText);
}

QStringList shown(const WindowDriver& user) {
  return {checkedOf(user, "RB_Src_HDMI", "HDMI", "RB_Src_DP", "DP"), user.text("label_TX_HPD"),
          user.text("label_TX_UVC_Format") + " " + user.text("label_TX_OutputTimming"),
          user.text("label_RX_HDCP") + " " + user.text("label_TX_HDCP") + " " +
              checkedOf(user, "RB_TX_HDCP_ON", "on", "RB_TX_HDCP_OFF", "off")};
}

const QStringList kReadOperations{"AT_Get_Current_Input_Source", "AT_HdmiTX_Get_HPD_Status", "AT_UVC_Get_Output_Timing",
                                  "AT_UVC_Get_VideoFormat", "AT_Get_RX_TX_HDCP_Version"};

void answerAllOf(const std::vector<Answer>& device, unsigned call) {
  for (const Answer& answer : device) {
    simulator::answerCall(answer.operation, call, 0, answer.bytes);
  }
}

}  // namespace

class VideoPageTest : public WindowTest {
  Q_OBJECT

 private slots:
  void everyClickOnASourceSwitchesToIt() {
    connectDevice();
    for (const char* button : {"RB_Src_HDMI", "RB_Src_DP", "RB_Src_DP", "RB_Src_HDMI", "RB_Src_HDMI"}) {
      user.click(button);
    }
    QCOMPARE(journalCalls(), (QStringList{"AT_Input_Source_Switch([00])", "AT_Input_Source_Switch([01])",
                                          "AT_Input_Source_Switch([01])", "AT_Input_Source_Switch([00])",
                                          "AT_Input_Source_Switch([00])"}));
    QCOMPARE(user.message(), "Device Connected");
  }

  void theHotPlugButtonsDriveTheLine() {
    connectDevice();
    for (const char* button : {"BN_RX_HPD_OFF", "BN_RX_HPD_OFF", "BN_RX_HPD_ON"}) {
      user.click(button);
    }
    QCOMPARE(journalCalls(), (QStringList{"AT_HdmiRX_Set_HPD(0)", "AT_HdmiRX_Set_HPD(0)", "AT_HdmiRX_Set_HPD(1)"}));
    QCOMPARE(user.message(), "Device Connected");
  }

  void theHotPlugSlotDoesNothingForAnotherSender() {
    QVERIFY(QMetaObject::invokeMethod(&window(), "slot_Set_RxHPD"));
    QObject stranger;
    connect(&stranger, SIGNAL(objectNameChanged(QString)), &window(), SLOT(slot_Set_RxHPD()));
    stranger.setObjectName("BN_RX_HPD_ON");
    QCOMPARE(journalCalls(), QStringList());
  }

  void switchesAndHotPlugReportNothing() {
    user.click("BN_Connect");
    for (const char* operation : {"AT_Input_Source_Switch", "AT_HdmiRX_Set_HPD"}) {
      simulator::failCall(operation, 1, -1, 0);
    }
    for (const char* button : {"RB_Src_DP", "RB_Src_HDMI", "BN_RX_HPD_OFF", "BN_RX_HPD_ON"}) {
      user.click(button);
    }
    QCOMPARE(user.message(), "Device Connected");
    QVERIFY(user.widget<QRadioButton>("RB_Src_HDMI").isChecked());
  }

  void callsAreMadeEvenWithoutASession() {
    for (const char* button : {"RB_Src_DP", "BN_RX_HPD_ON", "BN_Video_Read"}) {
      user.click(button);
    }
    QCOMPARE(journalCalls(),
             (QStringList{"AT_Input_Source_Switch([01])", "AT_HdmiRX_Set_HPD(1)", "AT_Get_Current_Input_Source()"}));
    QCOMPARE(user.message(), "Read Input Source...[fail]");
  }

  void aReadShowsEverythingWithoutAMessage() {
    answerAllOf(kFirstDevice, 1);
    user.click("BN_Video_Read");
    QCOMPARE(journalOperations(), kReadOperations);
    QCOMPARE(shown(user), kFirstShown);
    QCOMPARE(user.message(), "");
  }

  void aFailureEndsTheRead_data() {
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("updated");
    // The timing is shown only after the format has been read.
    const std::vector<int> updated{0, 1, 2, 2, 3};
    for (int step = 0; step < 5; ++step) {
      QTest::newRow(kFirstDevice[static_cast<std::size_t>(step)].operation)
          << step << updated[static_cast<std::size_t>(step)];
    }
  }

  void aFailureEndsTheRead() {
    QFETCH(int, step);
    QFETCH(int, updated);
    const Answer& failing = kFirstDevice[static_cast<std::size_t>(step)];
    for (const std::int32_t status : {1, -1, INT_MIN, INT_MAX}) {
      start();
      answerAllOf(kFirstDevice, 1);
      user.click("BN_Video_Read");
      simulator::clearJournal();
      for (std::size_t i = 0; i < kSecondDevice.size(); ++i) {
        simulator::answerCall(kFirstDevice[i].operation, 2, static_cast<int>(i) == step ? status : 0, kSecondDevice[i]);
      }
      user.click("BN_Video_Read");
      QCOMPARE(journalOperations(), kReadOperations.mid(0, step + 1));
      QCOMPARE(user.message(), failing.failure);
      QCOMPARE(shown(user), kSecondShown.mid(0, updated) + kFirstShown.mid(updated));
    }
  }

  void aLaterReadThatSucceedsKeepsTheMessage() {
    simulator::failCall("AT_Get_RX_TX_HDCP_Version", 1, -1);
    answerAllOf({kFirstDevice.begin(), kFirstDevice.end() - 1}, 1);
    user.click("BN_Video_Read");
    QCOMPARE(user.message(), "Read HDCP status...[fail]");
    answerAllOf(kFirstDevice, 2);
    user.click("BN_Video_Read");
    QCOMPARE(shown(user), kFirstShown);
    QCOMPARE(user.message(), "Read HDCP status...[fail]");
  }

  void everySourceButZeroIsDpAndNoSwitchIsSentBack() {
    connectDevice();
    // Zeros in between make the buttons change with every read.
    unsigned call = 0;
    for (int source = 1; source < 256; ++source) {
      simulator::answerCall("AT_Get_Current_Input_Source", ++call, 0, {static_cast<std::uint8_t>(source)});
      user.click("BN_Video_Read");
      QCOMPARE(shown(user)[0], "DP");
      simulator::answerCall("AT_Get_Current_Input_Source", ++call, 0, {0});
      user.click("BN_Video_Read");
      QCOMPARE(shown(user)[0], "HDMI");
    }
    QVERIFY(!journalOperations().contains("AT_Input_Source_Switch"));
  }

  void onlyOneIsASink_data() {
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("1") << QByteArray("\1\0\0\0", 4) << "Active";
    QTest::newRow("0") << QByteArray("\0\0\0\0", 4) << "None";
    QTest::newRow("2") << QByteArray("\2\0\0\0", 4) << "None";
    QTest::newRow("-1") << QByteArray("\xFF\xFF\xFF\xFF", 4) << "None";
    QTest::newRow("257") << QByteArray("\1\1\0\0", 4) << "None";
    QTest::newRow("a high bit beside the one") << QByteArray("\1\0\0\x80", 4) << "None";
    // The value is cleared before the call.
    QTest::newRow("nothing written") << QByteArray() << "None";
    QTest::newRow("one byte written") << QByteArray("\1", 1) << "Active";
  }

  void onlyOneIsASink() {
    QFETCH(QByteArray, value);
    QFETCH(QString, text);
    user.click("BN_Connect");
    simulator::answerCall("AT_HdmiTX_Get_HPD_Status", 1, 0, {value.begin(), value.end()});
    user.click("BN_Video_Read");
    QCOMPARE(user.text("label_TX_HPD"), text);
  }

  void everyFormatCodeIsShown() {
    user.click("BN_Connect");
    for (unsigned code = 0; code < 256; ++code) {
      simulator::answerCall("AT_UVC_Get_VideoFormat", code + 1, 0, {static_cast<std::uint8_t>(code)});
      user.click("BN_Video_Read");
      const QStringList texts{"N/A", "NV12", "M420", "I420", "YUYV", "RGB24", "RGB32", "P101", "MJPEG"};
      QCOMPARE(user.text("label_TX_UVC_Format"), texts.value(static_cast<int>(code), "N/A"));
    }
  }

  void everyHdcpCodeIsShownAndNoSwitchIsSentBack() {
    connectDevice();
    const QStringList texts{"No HDCP", "HDCP1.3/1.4", "HDCP2.2/2.3"};
    for (int code = 0; code < 256; ++code) {
      // The receiver's code counts backwards, so that swapped bytes are noticed.
      const int receiver = 255 - code;
      simulator::answerCall("AT_Get_RX_TX_HDCP_Version", static_cast<unsigned>(code) + 1, 0,
                            {static_cast<std::uint8_t>(receiver), static_cast<std::uint8_t>(code)});
      user.click("BN_Video_Read");
      QCOMPARE(user.text("label_RX_HDCP"), texts.value(receiver, "HDCP OFF"));
      QCOMPARE(user.text("label_TX_HDCP"), texts.value(code, "HDCP OFF"));
      QCOMPARE(user.widget<QRadioButton>("RB_TX_HDCP_ON").isChecked(), code == 1 || code == 2);
      QCOMPARE(user.widget<QRadioButton>("RB_TX_HDCP_OFF").isChecked(), code != 1 && code != 2);
    }
    QVERIFY(!journalOperations().contains("AT_SetHDMI_HDCP_OnOff"));
  }

  void aRecordAsLargeAsItsBufferIsAccepted() {
    user.click("BN_Connect");
    for (const char* operation : {"AT_UVC_Get_Output_Timing", "AT_Get_RX_TX_HDCP_Version"}) {
      simulator::answerCall(operation, 1, 0, Bytes(128, 0xFF));
    }
    user.click("BN_Video_Read");
    QCOMPARE(user.text("label_TX_OutputTimming"), "4294967295x4294967295@42949672");
    QCOMPARE(user.text("label_RX_HDCP"), "HDCP OFF");
  }
};

QTEST_MAIN(VideoPageTest)
#include "video_page_test.moc"
