#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/operation_table.h"
#include "tests/support/test_files.h"

#include <algorithm>

namespace {

void open() {
  QCOMPARE(QString::fromStdString(simulator::loadScenario("{}")), QString());
  simulator::useVirtualTime();
  openDefaultDevice();
}

QByteArray captureVersion() {
  std::array<std::uint8_t, 128> text{};
  return AT_Get_Customer_Ver(text.data()) == 0 ? QByteArray(reinterpret_cast<const char*>(text.data())) : "failed";
}

std::vector<float>& progress() {
  static std::vector<float> values;
  return values;
}

}  // namespace

/// Burns on the simulated device, and the files that they read.
class SimulatorCaptureFlashTest : public QObject {
  Q_OBJECT

  TestFiles files_;

  QByteArray fileWith(const QByteArray& content) {
    return files_.write(QStringLiteral("file-%1").arg(content.size()), content).toUtf8();
  }

 private slots:
  void init() { progress().clear(); }

  void keyFilesAreReadFromTheHost() {
    open();
    QCOMPARE(burnHDCP(fileWith("key")), 0);
    QCOMPARE(burnHDCP(fileWith("")), simulator::kBadFile);
    QCOMPARE(burnHDCP(fileWith(QByteArray(64 * 1024, 'k'))), 0);
    QCOMPARE(burnHDCP(fileWith(QByteArray(64 * 1024 + 1, 'k'))), simulator::kBadFile);
    QCOMPARE(burnHDCP(files_.folder().toUtf8()), simulator::kBadFile);
    QCOMPARE(burnHDCP(files_.path("missing").toUtf8()), simulator::kBadFile);
    QCOMPARE(burnHDCP("/dev/zero"), simulator::kBadFile);
  }

  void aBurnReportsItsProgressAndBringsItsVersion() {
    open();
    const QByteArray path = fileWith(QByteArray(50000, '\0') + "KVR-7 V2.10.03" + QByteArray(10000, '\xFF'));
    QCOMPARE(burnToFlash(path, [](float percent) { progress().push_back(percent); }), 0);
    QCOMPARE(progress().front(), 0.0F);
    QCOMPARE(progress().back(), 100.0F);
    QVERIFY(std::is_sorted(progress().begin(), progress().end()));
    QVERIFY(progress().size() > 3);
    QCOMPARE(captureVersion(), "V2.10.03");
  }

  void otherCallsWorkDuringABurn() {
    open();
    static std::uint8_t source;
    static int status;
    static int again;
    static QByteArray version;
    static QByteArray path;
    path = fileWith("image");
    QCOMPARE(burnToFlash(path,
                         [](float) {
                           status = AT_Get_Current_Input_Source(&source);
                           version = captureVersion();
                           again = burnToFlash(path, [](float) {});
                         }),
             0);
    QCOMPARE(status, 0);
    QCOMPARE(int{source}, 0);
    QCOMPARE(version, "failed");
    QCOMPARE(again, simulator::kBurnRunning);
  }

  void aBrokenBurnLeavesNoFirmwareUntilAGoodOne() {
    open();
    const QByteArray path = fileWith(QByteArray(100000, 'x'));
    QCOMPARE(burnToFlash(path,
                         [](float percent) {
                           if (percent > 30) {
                             simulator::unplug();
                           }
                         }),
             simulator::kDeviceGone);
    simulator::replug();
    QCOMPARE(captureVersion(), "failed");
    QCOMPARE(burnToFlash(path, [](float) {}), 0);
    QCOMPARE(captureVersion(), "V0.00.00");
  }

  void aResetEndsABurn() {
    open();
    QCOMPARE(burnToFlash(fileWith(QByteArray(100000, 'x')), [](float) { simulator::reset(); }), simulator::kNoPort);
    QVERIFY(simulator::journal().empty());
  }

  void filesThatAreNotImagesLeaveTheFirmware() {
    open();
    for (const QByteArray& path :
         {fileWith(""), files_.folder().toUtf8(), files_.path("missing").toUtf8(), QByteArray("/dev/zero"),
          QByteArray(""), fileWith(QByteArray(16 * 1024 * 1024 + 1, 'x'))}) {
      QCOMPARE(burnToFlash(path, [](float percent) { progress().push_back(percent); }), simulator::kBadFile);
    }
    QVERIFY(progress().empty());
    QCOMPARE(captureVersion(), "V1.03.07");
  }
};

QTEST_GUILESS_MAIN(SimulatorCaptureFlashTest)
#include "capture_flash_test.moc"
