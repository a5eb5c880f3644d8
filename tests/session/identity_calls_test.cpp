#include "session/identity_calls.h"

#include "tests/support/call_check.h"

class IdentityCallsTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { openNewDevice(); }

  void eachIsOneCallAndPassesItsStatusOn() {
    checkCall({"AT_Get_Customer_Ver()", [] { return statusOfCall(session::readCaptureVersion()); }});
    checkCall(
        {"AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, [02], 1)", [] { return statusOfCall(session::readMcuVersion()); }});
    checkCall({"AT_Get_UVC_Name(100)", [] { return statusOfCall(session::readUvcName()); }});
    checkCall({"AT_USB_Get_iManufacturer(64)", [] { return statusOfCall(session::readManufacturer()); }});
    checkCall({"AT_USB_Get_iProduct(64)", [] { return statusOfCall(session::readProduct()); }});
  }

  void aDeviceTellsWhoItIs() {
    QCOMPARE(*session::readCaptureVersion(), QString("V1.03.07"));
    QCOMPARE(int{*session::readMcuVersion()}, 0x12);
    QCOMPARE(session::readUvcName()->text, QString("KVR-7 Video"));
    QCOMPARE(session::readManufacturer()->text, QString("Orvenhal"));
    QCOMPARE(session::readManufacturer()->reportedLength, 8U);
  }

  void theCaptureVersionIsUtf8AndTheOthersAreLatin1() {
    const std::vector<std::uint8_t> bytes{0xC3, 0xA4, 0x00, 'x'};
    simulator::answerCall("AT_Get_Customer_Ver", 1, 0, bytes);
    simulator::answerCall("AT_Get_UVC_Name", 1, 0, bytes, 9999);
    simulator::answerCall("AT_USB_Get_iProduct", 1, 4, bytes);
    QCOMPARE(*session::readCaptureVersion(), QString::fromUtf8("\u00e4"));
    QCOMPARE(session::readUvcName()->text, QString::fromLatin1("\xC3\xA4"));
    QCOMPARE(session::readProduct()->text, QString::fromLatin1("\xC3\xA4"));
  }

  // The length is not trusted: it neither lengthens nor shortens the name.
  void theLengthOfANameIsPassedOnAsReported() {
    simulator::answerCall("AT_Get_UVC_Name", 1, 0, {'n', 'a', 'm', 'e'}, 0xFFFFFFFF);
    const auto name = session::readUvcName();
    QCOMPARE(name->text, QString("name"));
    QCOMPARE(name->reportedLength, 0xFFFFFFFFU);
  }

  void aUsbStringEndsAtItsReportedLengthWithinTheBuffer_data() {
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("shown");
    QTest::newRow("nothing") << 0 << 0;
    QTest::newRow("less than there is") << 5 << 5;
    QTest::newRow("all of the capacity") << 64 << 64;
    QTest::newRow("more than the capacity") << 65 << 64;
    QTest::newRow("more than any buffer") << 0x7FFFFFFF << 64;
  }

  void aUsbStringEndsAtItsReportedLengthWithinTheBuffer() {
    QFETCH(int, length);
    QFETCH(int, shown);
    simulator::answerCall("AT_USB_Get_iManufacturer", 1, length, std::vector<std::uint8_t>(200, 'w'));
    const auto manufacturer = session::readManufacturer();
    QCOMPARE(manufacturer->text, QString(shown, 'w'));
    QCOMPARE(manufacturer->reportedLength, static_cast<std::uint32_t>(length));
  }
};

QTEST_APPLESS_MAIN(IdentityCallsTest)
#include "identity_calls_test.moc"
