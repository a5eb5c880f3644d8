#include "app/message_line.h"
#include "firmware/update_capture_thread.h"
#include "simulator/device/status.h"
#include "tests/firmware/capture_fixture.h"

#include <QElapsedTimer>
#include <QTest>

#include <chrono>
#include <future>

/// The burn worker alongside other workers and the window, and after the window is gone.
class CaptureWorkerTest : public CaptureFixture {
  Q_OBJECT

 private slots:
  void init() { startCapture(); }
  void cleanup() { finish(); }

  void theDeviceServesTheWindowDuringABurn() {
    user.click("BN_Connect");
    browse(write("firmware.img", imageFor("KVR-7")));
    simulator::holdBurns(3);
    user.click("BN_Apply_CapMCU_QX");
    QVERIFY(waitFor([] { return simulator::heldBurns() == 1; }));
    user.click("BN_Info_Read");
    QCOMPARE(user.message(), "HdmiRX_GetRawTimingInfo  [OK]");
    user.click("BN_SN_Read");
    QCOMPARE(user.widget<QLineEdit>("lineEdit_SN").text(), "OV7A00001234");
    // No control is locked.
    for (const char* button : {"BN_Apply_CapMCU_QX", "BN_Browse_Cap_QX", "BN_Connect"}) {
      QVERIFY(user.widget<QAbstractButton>(button).isEnabled());
    }
  }

  void aSecondBurnAtOnceFailsAndTheFirstGoesOn() {
    user.click("BN_Connect");
    const QByteArray image = imageFor("KVR-7");
    const QString path = write("firmware.img", image);
    browse(path);
    simulator::clearJournal();
    simulator::holdBurns(5);
    user.click("BN_Apply_CapMCU_QX");
    QVERIFY(waitFor([] { return simulator::heldBurns() == 1; }));
    QCOMPARE(workers().size(), 1);
    user.click("BN_Apply_CapMCU");
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[Fail]"; }));
    QCOMPARE(simulator::journal().back().result, simulator::kBurnRunning);
    QCOMPARE(simulator::heldBurns(), 1U);
    simulator::releaseBurns();
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[OK]"; }));
    QCOMPARE(journalOperations(), (QStringList{"burnToFlash", "burnToFlash"}));
    QCOMPARE(flashContent(image.size()), image);
    QVERIFY(waitFor([&] { return workers().isEmpty(); }));
  }

  void manyBurnsAtOnceDoNoHarm() {
    user.click("BN_Connect");
    const QByteArray image = imageFor("KVR-7");
    browse(write("firmware.img", image));
    progressTimer().setInterval(0);
    simulator::clearJournal();
    for (int i = 0; i < 20; ++i) {
      user.click("BN_Apply_CapMCU_QX");
      user.click("BN_Info_Read");
      QCoreApplication::processEvents();
    }
    QVERIFY(waitFor([&] { return workers().isEmpty(); }));
    int succeeded = 0;
    for (const simulator::JournalEntry& call : simulator::journal()) {
      if (call.operation == "burnToFlash") {
        QVERIFY(call.result == 0 || call.result == simulator::kBurnRunning);
        succeeded += call.result == 0 ? 1 : 0;
      }
    }
    QVERIFY(succeeded >= 1);
    QCOMPARE(flashContent(image.size()), image);
  }

  void theWorkerBelongsToTheWindowAndDeletesItself() {
    user.click("BN_Connect");
    browse(write("firmware.img", imageFor("KVR-7")));
    simulator::holdBurns(1);
    user.click("BN_Apply_CapMCU_QX");
    const QPointer<UpdateCaptureThread> worker = MainWindowTestAccess::captureWorker(window());
    QCOMPARE(worker->parent(), &window());
    QVERIFY(progressTimer().isActive());
    QTest::ignoreMessage(QtDebugMsg, "Update Capture exit");
    simulator::releaseBurns();
    QVERIFY(waitFor([&] { return worker.isNull(); }));
  }

  void theBurnUsesThePathChosenWhenItStarted() {
    user.click("BN_Connect");
    const QString first = write("first.img", imageFor("KVR-7"));
    browse(first);
    simulator::holdBurns(1);
    simulator::clearJournal();
    user.click("BN_Apply_CapMCU_QX");
    browse(write("second.img", imageFor("KVR-7")));
    simulator::releaseBurns();
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[OK]"; }));
    QCOMPARE(journalCalls(), QStringList{"burnToFlash(\"" + first + "\")"});
  }

  void aBurnOutlivesTheWindow() {
    user.click("BN_Connect");
    const QByteArray image = imageFor("KVR-7");
    browse(write("firmware.img", image));
    simulator::holdBurns(3);
    user.click("BN_Apply_CapMCU_QX");
    QVERIFY(waitFor([] { return simulator::heldBurns() == 1; }));
    const QPointer<UpdateCaptureThread> worker = MainWindowTestAccess::captureWorker(window());
    const std::shared_ptr<MessageLine> messageLine = MainWindowTestAccess::messageLine(window());
    simulator::clearJournal();
    QElapsedTimer time;
    time.start();
    closeWindow();
    QVERIFY2(time.elapsed() < 5000, "the window waited for the burn");
    QCOMPARE(journalCalls(), QStringList());
    QVERIFY(worker);
    QVERIFY(worker->isRunning());
    simulator::releaseBurns();
    QVERIFY(worker->wait(10'000));
    QCOMPARE(simulator::journal().back().result, 0);
    QCOMPARE(flashContent(image.size()), image);
    // Takes the lock that the worker took last; the thread sanitizer does not see the
    // synchronisation in QThread::wait.
    messageLine->detach();
    // It no longer has an owner.
    delete worker.data();
  }

  void aBurnAtItsVeryEndOutlivesTheWindowToo() {
    user.click("BN_Connect");
    browse(write("firmware.img", imageFor("KVR-7")));
    simulator::holdBurns(1);
    user.click("BN_Apply_CapMCU_QX");
    QVERIFY(waitFor([] { return simulator::heldBurns() == 1; }));
    const QPointer<UpdateCaptureThread> worker = MainWindowTestAccess::captureWorker(window());
    const std::shared_ptr<MessageLine> messageLine = MainWindowTestAccess::messageLine(window());
    // After `run`: Qt reports the worker as finished, but its thread still exists.
    std::promise<void> atEnd;
    std::promise<void> goOn;
    connect(
        worker, &QThread::finished, worker,
        [&] {
          atEnd.set_value();
          goOn.get_future().wait_for(std::chrono::seconds(3));
        },
        Qt::DirectConnection);
    simulator::releaseBurns();
    QVERIFY(atEnd.get_future().wait_for(std::chrono::seconds(10)) == std::future_status::ready);
    QVERIFY(!worker->isRunning());
    closeWindow();
    // Deleting it would have waited for the thread.
    QVERIFY(worker);
    goOn.set_value();
    QVERIFY(worker->wait(10'000));
    messageLine->detach();
    delete worker.data();
  }
};

QTEST_MAIN(CaptureWorkerTest)
#include "capture_worker_test.moc"
