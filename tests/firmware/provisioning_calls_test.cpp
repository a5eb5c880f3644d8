#include "firmware/provisioning_calls.h"

#include "firmware/capture_burn.h"
#include "tests/support/call_check.h"

#include <QTemporaryDir>

#include <vector>

namespace {

std::vector<float>& reports() {
  static std::vector<float> percents;
  return percents;
}

}  // namespace

class ProvisioningCallsTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    QFile file(path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write("0123456789"), 10);
  }

  void init() { openNewDevice(); }

  void eachIsOneCallAndPassesItsStatusOn() {
    checkCall({"AT_USB_Get_SerialNum(100)", [] { return statusOfCall(firmware::readSerialNumber()); }});
    checkCall(
        {"AT_USB_Set_SerialNum([20 41 20], 3)", [] { return device::statusOf(firmware::setSerialNumber(" A ")); }});
    checkCall({"burnHDCP(\"" + path() + "\")", [this] { return device::statusOf(firmware::burnKey(path())); }});
    checkCall({"AT_RestoreToDefault()", [] { return device::statusOf(firmware::restoreDefaults()); }});
    checkCall({"AT_Set_System_Reboot()", [] { return device::statusOf(firmware::reboot()); }});
    checkCall({"burnToFlash(\"" + path() + "\")",
               [this] { return device::statusOf(firmware::burnCapture(path(), [](float) {})); }});
  }

  void aSerialNumberIsSentAsUtf8AndReadAsLatin1() {
    QVERIFY(firmware::setSerialNumber(QString::fromUtf8("\u00fc1")).has_value());
    QCOMPARE(journalCalls(), QStringList("AT_USB_Set_SerialNum([C3 BC 31], 3)"));
    const auto read = firmware::readSerialNumber();
    QCOMPARE(read->text, QString::fromLatin1("\xC3\xBC"
                                             "1"));
    QCOMPARE(read->reportedLength, 3U);
  }

  void aSerialNumberMayFillItsBuffer() {
    simulator::answerCall("AT_USB_Get_SerialNum", 1, 0, std::vector<std::uint8_t>(200, 's'), 200);
    const auto read = firmware::readSerialNumber();
    QCOMPARE(read->text, QString(100, 's'));
    QCOMPARE(read->reportedLength, 200U);
  }

  void aBurnReportsItsProgress() {
    reports().clear();
    simulator::reportDuringBurns({0.0F, 12.5F, 100.0F});
    QVERIFY(firmware::burnCapture(path(), [](float percent) { reports().push_back(percent); }).has_value());
    QCOMPARE(reports(), (std::vector<float>{0.0F, 12.5F, 100.0F}));
  }

  void theKeyThatIsBurntIsTheFilesContent() {
    QVERIFY(firmware::burnKey(path()).has_value());
    QCOMPARE(simulator::hdcpKey(), (std::vector<std::uint8_t>{'0', '1', '2', '3', '4', '5', '6', '7', '8', '9'}));
  }

 private:
  QString path() const { return directory_.filePath("image.bin"); }

  QTemporaryDir directory_;
};

QTEST_GUILESS_MAIN(ProvisioningCallsTest)
#include "provisioning_calls_test.moc"
