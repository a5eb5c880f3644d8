#include "app/program_state.h"
#include "simulator/control/control.h"
#include "tests/support/journal.h"
#include "tests/support/window_fixture.h"

#include <QTest>

#include <climits>

namespace {

const QStringList kIdentityReads{"AT_Get_Customer_Ver", "AT_System_Get_ExternalMCU_cmd", "AT_Get_UVC_Name",
                                 "AT_USB_Get_iManufacturer", "AT_USB_Get_iProduct"};
const QStringList kFullSequence = QStringList{"initialize", "setDevice", "openPort"} + kIdentityReads;

std::vector<std::uint8_t> bytes(const QByteArray& text) { return {text.begin(), text.end()}; }

constexpr const char* kScenario = R"({
  "model": "KVR-7",
  "identity": {"captureVersion": "V2.10.3", "uvcName": "KVR-7 Capture",
               "manufacturer": "Orvenhal", "product": "KVR-7 HDMI"},
  "externalMcu": {"version": "0x1A"}
})";

}  // namespace

class ConnectionPageTest : public WindowTest {
  Q_OBJECT

 private slots:
  void init() { start(kScenario); }

  void connectingRunsTheSequenceAndShowsTheIdentity() {
    user.click("BN_Connect");
    QCOMPARE(journalOperations(), kFullSequence);
    QCOMPARE(journalCalls().at(1), "setDevice(0, 0, 0x5C19, 0x6B03)");
    QCOMPARE(journalCalls().at(4), "AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, [02], 1)");
    QCOMPARE(user.message(), "Device Connected");
    QCOMPARE(user.text("lb_FW_VER_QX"), "V2.10.3");
    QCOMPARE(user.text("lb_Main_VER_QX"), "v1.10");
    QCOMPARE(user.text("label_UVC_NAME"), "KVR-7 Capture");
    QCOMPARE(user.text("label_IManufacturer"), "Orvenhal");
    QCOMPARE(user.text("label_IProduct"), "KVR-7 HDMI");
    QCOMPARE(selectedVid, 0x5C19U);
    QCOMPARE(selectedPid, 0x6B03U);
  }

  void choosingATypeOnlyWritesItsIds() {
    const auto& pid = user.widget<QLineEdit>("Edit_PID");
    user.choose("CB_DeviceType", "KVR-5B");
    QCOMPARE(pid.text(), "6B02");
    QCOMPARE(user.widget<QLineEdit>("Edit_VID").text(), "5C19");
    user.choose("CB_DeviceType", "KVR-7");
    QCOMPARE(pid.text(), "6B03");
    user.widget<QComboBox>("CB_DeviceType").setCurrentIndex(-1);
    QCOMPARE(pid.text(), "6B02");
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(user.message(), "");
  }

  void theOpenSessionIsKeptByASecondPress() {
    connectDevice();
    user.widget<QLabel>("LB_Message").setText("untouched");
    user.click("BN_Connect");
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(user.message(), "untouched");
  }

  void changingTheTypeClosesThePortWithoutUninitialising() {
    connectDevice();
    user.choose("CB_DeviceType", "KVR-5B");
    QCOMPARE(journalCalls(), QStringList());
    user.click("BN_Connect");
    QCOMPARE(journalCalls(),
             (QStringList{"closePort()", "initialize()", "setDevice(0, 0, 0x5C19, 0x6B02)", "uninitialize()"}));
    QCOMPARE(user.message(), "set Port...[Fail]");
    QCOMPARE(selectedPid, 0x6B02U);

    // The session is no longer open, so there is nothing to close next time.
    user.choose("CB_DeviceType", "KVR-7");
    simulator::clearJournal();
    user.click("BN_Connect");
    QCOMPARE(journalOperations(), kFullSequence);
    QCOMPARE(user.message(), "Device Connected");
  }

  void aFailingStepEndsTheAttempt_data() {
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QStringList>("calls");
    QTest::addColumn<QString>("message");
    QTest::newRow("initialize") << "initialize" << QStringList{"initialize"} << "initialize SDK ...[fail]";
    QTest::newRow("setDevice") << "setDevice" << QStringList{"initialize", "setDevice", "uninitialize"}
                               << "set Port...[Fail]";
    QTest::newRow("openPort") << "openPort" << QStringList{"initialize", "setDevice", "openPort", "uninitialize"}
                              << "Open Port...[Fail]";
  }

  void aFailingStepEndsTheAttempt() {
    QFETCH(QString, operation);
    QFETCH(QStringList, calls);
    QFETCH(QString, message);
    unsigned call = 0;
    for (const std::int32_t status : {1, -1, INT_MIN, INT_MAX}) {
      simulator::clearJournal();
      simulator::failCall(operation.toStdString(), ++call, status);
      user.click("BN_Connect");
      QCOMPARE(journalOperations(), calls);
      QCOMPARE(user.message(), message);
      QCOMPARE(user.text("lb_FW_VER_QX"), "N/A");
      QCOMPARE(user.text("lb_Main_VER_QX"), "N/A");
      // The ids are remembered, but there is no connection: a read does nothing.
      QCOMPARE(selectedPid, 0x6B03U);
      simulator::clearJournal();
      user.click("BN_Info_Read");
      QCOMPARE(journalCalls(), QStringList());
    }

    user.click("BN_Connect");
    QCOMPARE(user.message(), "Device Connected");
  }

  void aFailingIdentityReadIsNoFailureOfTheConnection_data() {
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("captureVersion");
    QTest::addColumn<QString>("mainVersion");
    QTest::addColumn<QString>("emptied");
    QTest::newRow("capture version") << "AT_Get_Customer_Ver"
                                     << "Get Capture Version [fail]"
                                     << "v1.10"
                                     << "";
    QTest::newRow("main version") << "AT_System_Get_ExternalMCU_cmd"
                                  << "V2.10.3"
                                  << "v15.15"
                                  << "";
    QTest::newRow("UVC name") << "AT_Get_UVC_Name"
                              << "Get UVC name [fail]"
                              << "v1.10"
                              << "";
    QTest::newRow("manufacturer") << "AT_USB_Get_iManufacturer"
                                  << "Get iManufacturer [fail]"
                                  << "v1.10"
                                  << "label_IManufacturer";
    QTest::newRow("product") << "AT_USB_Get_iProduct"
                             << "Get iManufacturer [fail]"
                             << "v1.10"
                             << "label_IProduct";
  }

  void aFailingIdentityReadIsNoFailureOfTheConnection() {
    QFETCH(QString, operation);
    QFETCH(QString, captureVersion);
    QFETCH(QString, mainVersion);
    QFETCH(QString, emptied);
    simulator::failCall(operation.toStdString(), 1, -7);
    user.click("BN_Connect");
    QCOMPARE(journalOperations(), kFullSequence);
    QCOMPARE(user.message(), "Device Connected");
    QCOMPARE(user.text("lb_FW_VER_QX"), captureVersion);
    QCOMPARE(user.text("lb_Main_VER_QX"), mainVersion);
    QCOMPARE(user.text("label_UVC_NAME"), operation == "AT_Get_UVC_Name" ? "N/A" : "KVR-7 Capture");
    QCOMPARE(user.text("label_IManufacturer"), emptied == "label_IManufacturer" ? "" : "Orvenhal");
    QCOMPARE(user.text("label_IProduct"), emptied == "label_IProduct" ? "" : "KVR-7 HDMI");

    // It is connected all the same: a read reaches the device.
    simulator::clearJournal();
    user.click("BN_Info_Read");
    QCOMPARE(journalOperations(), QStringList{"AT_HdmiRX_GetRawTimingInfo"});
  }

  void theLastFailureOfTheIdentityReadsIsShown() {
    for (const QString& operation : kIdentityReads) {
      simulator::failCall(operation.toStdString(), 1, -1);
    }
    user.click("BN_Connect");
    QCOMPARE(user.message(), "Device Connected");
    QCOMPARE(user.text("lb_FW_VER_QX"), "Get iManufacturer [fail]");
    QCOMPARE(user.text("lb_Main_VER_QX"), "v15.15");
  }

  // A positive result of a string read is a length, not a failure.
  void stringsOfALyingLibraryStayInTheirBuffers_data() {
    QTest::addColumn<QString>("operation");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("shown");
    const QByteArray unterminated(128, 'y');
    QTest::newRow("version unterminated")
        << "AT_Get_Customer_Ver" << 0 << unterminated << "lb_FW_VER_QX" << QString(128, 'y');
    QTest::newRow("version in UTF-8") << "AT_Get_Customer_Ver" << 0 << QByteArray("V\xC3\xA9\0x", 5) << "lb_FW_VER_QX"
                                      << QString::fromUtf8("V\xC3\xA9");
    QTest::newRow("name unterminated") << "AT_Get_UVC_Name" << 0 << unterminated << "label_UVC_NAME"
                                       << QString(100, 'y');
    QTest::newRow("name in Latin-1") << "AT_Get_UVC_Name" << 0 << QByteArray("\xE9\0", 2) << "label_UVC_NAME"
                                     << QString::fromLatin1("\xE9");
    for (const auto& read : {std::pair("AT_USB_Get_iManufacturer", "label_IManufacturer"),
                             std::pair("AT_USB_Get_iProduct", "label_IProduct")}) {
      const char* const operation = read.first;
      const char* const label = read.second;
      const auto row = [&](const char* what) -> QTestData& {
        return QTest::newRow(qPrintable(QStringLiteral("%1 %2").arg(label, what))) << operation;
      };
      row("huge length") << INT_MAX << unterminated << label << QString(64, 'y');
      row("length beside the text") << 3 << QByteArray("abcdef") << label << "abc";
      row("no length") << 0 << QByteArray("abcdef") << label << "";
      row("NUL before the length") << 6 << QByteArray("ab\0def", 6) << label << "ab";
      row("smallest length") << INT_MIN << QByteArray("abcdef") << label << "";
    }
  }

  void stringsOfALyingLibraryStayInTheirBuffers() {
    QFETCH(QString, operation);
    QFETCH(int, status);
    QFETCH(QByteArray, answer);
    QFETCH(QString, label);
    QFETCH(QString, shown);
    simulator::answerCall(operation.toStdString(), 1, status, bytes(answer));
    user.click("BN_Connect");
    QCOMPARE(user.message(), "Device Connected");
    QCOMPARE(user.text(label), shown);
  }

  void everyMainVersionIsShown() {
    for (int version = 0; version < 256; ++version) {
      start();
      simulator::answerCall("AT_System_Get_ExternalMCU_cmd", 1, 0, {static_cast<std::uint8_t>(version)});
      user.click("BN_Connect");
      QCOMPARE(user.text("lb_Main_VER_QX"), QStringLiteral("v%1.%2").arg(version / 16).arg(version % 16));
    }
  }

  void anEmptyIdIsASilentReturn_data() {
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("text");
    QTest::newRow("no vendor") << "Edit_VID"
                               << "";
    QTest::newRow("blank vendor") << "Edit_VID"
                                  << "  ";
    QTest::newRow("no product") << "Edit_PID"
                                << "";
    QTest::newRow("blank product") << "Edit_PID"
                                   << " \t ";
  }

  void anEmptyIdIsASilentReturn() {
    QFETCH(QString, field);
    QFETCH(QString, text);
    user.widget<QLineEdit>(field).setText(text);
    user.click("BN_Connect");
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(user.message(), "");
    QCOMPARE(selectedVid, 0U);
  }

  void idsAreHexadecimalOrCountAsZero_data() {
    QTest::addColumn<QString>("vid");
    QTest::addColumn<QString>("pid");
    QTest::addColumn<QString>("call");
    QTest::newRow("lower case") << "5c19"
                                << "6b03"
                                << "setDevice(0, 0, 0x5C19, 0x6B03)";
    QTest::newRow("blanks around") << " 5C1"
                                   << " 6B03 "
                                   << "setDevice(0, 0, 0x05C1, 0x6B03)";
    QTest::newRow("not a number") << "zz"
                                  << "6B0G"
                                  << "setDevice(0, 0, 0x0000, 0x0000)";
    QTest::newRow("32 bits") << "FFFF"
                             << "FFFFFFFF"
                             << "setDevice(0, 0, 0xFFFF, 0xFFFFFFFF)";
    QTest::newRow("over 32 bits") << "5C19"
                                  << "1FFFFFFFF"
                                  << "setDevice(0, 0, 0x5C19, 0x0000)";
    QTest::newRow("negative") << "-1"
                              << "-6B03"
                              << "setDevice(0, 0, 0x0000, 0x0000)";
  }

  void idsAreHexadecimalOrCountAsZero() {
    QFETCH(QString, vid);
    QFETCH(QString, pid);
    QFETCH(QString, call);
    user.widget<QLineEdit>("Edit_VID").setText(vid);
    user.widget<QLineEdit>("Edit_PID").setText(pid);
    user.click("BN_Connect");
    QCOMPARE(journalCalls().at(1), call);
  }

  void aDeviceThatDisappearsIsNoticedAtTheNextAttemptOnly() {
    user.click("BN_Connect");
    simulator::unplug();
    simulator::clearJournal();
    user.click("BN_Connect");
    QCOMPARE(journalCalls(), QStringList());
    user.choose("CB_DeviceType", "KVR-5B");
    user.click("BN_Connect");
    QCOMPARE(user.message(), "set Port...[Fail]");
    simulator::replug();
    user.choose("CB_DeviceType", "KVR-7");
    user.click("BN_Connect");
    QCOMPARE(user.message(), "Device Connected");
  }
};

QTEST_MAIN(ConnectionPageTest)
#include "connection_page_test.moc"
