#include "firmware/update_capture_thread.h"
#include "firmware/update_thread.h"
#include "simulator/control/control.h"
#include "tests/support/chosen_file.h"
#include "tests/support/journal.h"
#include "tests/support/sleeps.h"
#include "tests/support/window_fixture.h"

#include <QCoreApplication>
#include <QTest>

#include <memory>
#include <thread>

namespace {

/// A worker whose thread starts late: it is created when the user presses the button
/// and begins its work when the test says so.
template <typename Worker>
class LateWorker : public Worker {
 public:
  using Worker::Worker;

  /// Runs the work to its end on a separate thread.
  void runNow() {
    std::thread([this] { Worker::run(); }).join();
  }
};

bool hasFlashed(const std::vector<std::uint8_t>& flash, char byte) {
  return !flash.empty() && flash.front() == static_cast<std::uint8_t>(byte);
}

}  // namespace

/// What a worker sends is fixed at its creation, whatever happens to the window before
/// its thread runs.
class LateWorkerTest : public WindowTest {
  Q_OBJECT

 private slots:
  void initTestCase() {
    sleeps::replaceBy([](std::chrono::milliseconds time) { simulator::advanceTime(time); });
  }

  void anUpgradeMadeBeforeConnectSendsNothing() {
    chooseMcuImage('a');
    LateWorker<UpdateThread> worker(&window());
    connectDevice();
    worker.runNow();
    QCOMPARE(journalCalls(), QStringList());
  }

  void anUpgradeMadeWhileConnectedGoesOnAfterTheSessionIsLost() {
    connectDevice();
    chooseMcuImage('a');
    LateWorker<UpdateThread> worker(&window());
    user.choose("CB_DeviceType", "KVR-5B");
    user.click("BN_Connect");
    QCOMPARE(user.message(), "set Port...[Fail]");
    simulator::clearJournal();
    worker.runNow();
    QVERIFY(journalOperations().contains("AT_System_Get_ExternalMCU_cmd"));
  }

  void anUpgradeSendsTheImageThatWasThereWhenItWasMade() {
    connectDevice();
    chooseMcuImage('a');
    LateWorker<UpdateThread> worker(&window());
    chooseMcuImage('b');
    worker.runNow();
    QVERIFY(hasFlashed(simulator::mcuFlash(), 'a'));
  }

  void anUpgradeGoesOnWithoutItsWindow() {
    connectDevice();
    chooseMcuImage('a');
    const auto worker = std::make_unique<LateWorker<UpdateThread>>(&window());
    closeWindow();
    worker->runNow();
    QVERIFY(hasFlashed(simulator::mcuFlash(), 'a'));
  }

  void aBurnTakesTheFileThatWasChosenWhenItWasMade() {
    connectDevice();
    chooseCaptureImage('a');
    LateWorker<UpdateCaptureThread> worker(&window());
    chooseCaptureImage('b');
    worker.runNow();
    QVERIFY(hasFlashed(simulator::captureFlash(), 'a'));
    QCoreApplication::processEvents();
    QCOMPARE(user.message(), "Burn CAP...[OK]");
  }

  void aBurnGoesOnWithoutItsWindow() {
    connectDevice();
    chooseCaptureImage('a');
    const auto worker = std::make_unique<LateWorker<UpdateCaptureThread>>(&window());
    closeWindow();
    worker->runNow();
    QVERIFY(hasFlashed(simulator::captureFlash(), 'a'));
  }

 private:
  void chooseMcuImage(char fill) const {
    const ChosenFile chosen(files().write(QString(QLatin1Char(fill)) + ".bin", QByteArray(300, fill)));
    user.click("BN_Browse_ExtMCU_QX");
  }

  void chooseCaptureImage(char fill) const {
    const ChosenFile chosen(files().write(QString(QLatin1Char(fill)) + ".img", QByteArray(5000, fill) + "KVR-7"));
    user.click("BN_Browse_Cap_QX");
  }
};

QTEST_MAIN(LateWorkerTest)
#include "late_worker_test.moc"
