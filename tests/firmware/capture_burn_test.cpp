#include "app/message_line.h"
#include "firmware/update_capture_thread.h"
#include "simulator/device/status.h"
#include "tests/firmware/capture_fixture.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTest>

#include <chrono>
#include <climits>
#include <cmath>
#include <future>
#include <limits>

namespace {

constexpr const char* kExit = "Update Capture exit";

}  // namespace

/// What the window shows during a burn, and how burns and windows end.
class CaptureBurnTest : public CaptureFixture {
  Q_OBJECT

 private slots:
  void init() { startCapture(); }
  void cleanup() { finish(); }

  void aBurnPutsTheImageIntoTheFlashAndItsVersionOnTheDevice() {
    user.click("BN_Connect");
    const QByteArray image = imageFor("KVR-7", 300'001);
    const QString path = write("firmware.img", image);
    browse(path);
    expectBurn("BN_Apply_CapMCU_QX", path);
    QCOMPARE(flashContent(image.size()), image);
    QCOMPARE(versionAfterReconnect(), "V4.56.78");
  }

  void thePathReachesTheLibraryWhole() {
    user.click("BN_Connect");
    QString name = QString::fromUtf8("прошивка firmwäre 固件 ");
    name += QString(70, 'x');
    const QString folder = name + "/" + name + "/" + name;
    QVERIFY(QDir(files().folder()).mkpath(folder));
    const QByteArray image = imageFor("KVR-7");
    const QString path = write(folder + "/capture image.img", image);
    QVERIFY(path.size() > 200);
    browse(path);
    expectBurn("BN_Apply_CapMCU_QX", path);
    QCOMPARE(flashContent(image.size()), image);
    // The fields themselves hold 200 characters at most.
    QCOMPARE(pathFields(), (QStringList{path.left(200), path.left(200)}));
  }

  void theChosenFileStaysForTheNextBurn() {
    user.click("BN_Connect");
    const QString path = write("firmware.img", imageFor("KVR-7"));
    browse(path);
    expectBurn("BN_Apply_CapMCU_QX", path);
    user.widget<QLabel>("LB_Message").clear();
    simulator::clearJournal();
    expectBurn("BN_Apply_CapMCU", path);
  }

  void theTimerShowsEachWholePercent() {
    std::vector<float> reports;
    for (int percent = 0; percent <= 99; ++percent) {
      reports.push_back(static_cast<float>(percent));
      reports.push_back(static_cast<float>(percent) + 0.9F);
    }
    reports.push_back(100.0F);
    startHeldBurn(reports);
    for (unsigned i = 0; i < reports.size(); ++i) {
      const int percent = static_cast<int>(i / 2);
      // Both values of a percentage look the same, so wait for the first only.
      simulator::holdBurns(i + 1);
      QVERIFY(waitForProgress(percent));
      tick();
      QCOMPARE(user.message(), QString::number(percent) + "%");
      QCOMPARE(progressTimer().isActive(), percent < 100);
    }
  }

  void strangeProgressDoesNoHarm_data() {
    using Float = std::numeric_limits<float>;
    QTest::addColumn<float>("percent");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<bool>("goesOn");
    QTest::newRow("no number") << Float::quiet_NaN() << "0%" << true;
    QTest::newRow("negative") << -3.7F << "-3%" << true;
    QTest::newRow("just below 100") << std::nextafter(100.0F, 0.0F) << "99%" << true;
    QTest::newRow("over 100") << 250.5F << "250%" << false;
    QTest::newRow("beyond 32 bits") << 1e30F << "2147483647%" << false;
    QTest::newRow("infinite") << Float::infinity() << "2147483647%" << false;
    QTest::newRow("minus infinite") << -Float::infinity() << "-2147483648%" << true;
  }

  void strangeProgressDoesNoHarm() {
    QFETCH(float, percent);
    QFETCH(QString, shown);
    QFETCH(bool, goesOn);
    startHeldBurn({77.0F, percent});
    QVERIFY(waitForProgress(77));
    simulator::holdBurns(2);
    QVERIFY(waitFor([&] { return burnProgress != 77; }));
    tick();
    QCOMPARE(user.message(), shown);
    QCOMPARE(progressTimer().isActive(), goesOn);
  }

  void theSimulatedLibraryReportsFractionsAndEndsAt100() {
    user.click("BN_Connect");
    browse(write("firmware.img", imageFor("KVR-7", 1'000'000)));
    simulator::holdBurns(1);
    user.click("BN_Apply_CapMCU_QX");
    QVERIFY(waitFor([] { return simulator::heldBurns() == 1; }));
    QCOMPARE(burnProgress.load(), 0);
    const auto start = simulator::now();
    simulator::releaseBurns();
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[OK]"; }));
    QCOMPARE(burnProgress.load(), 100);
    // 16 sectors to erase, 245 pieces to write.
    QCOMPARE(simulator::now() - start, std::chrono::nanoseconds(std::chrono::milliseconds(16 * 80 + 245 * 15)));
  }

  void afterASuccessTheLastTickShows100AndStopsTheTimer() {
    startHeldBurn({99.0F, 99.99F, 100.0F});
    simulator::holdBurns(2);
    QVERIFY(waitForProgress(99));
    tick();
    QCOMPARE(user.message(), "99%");
    QVERIFY(progressTimer().isActive());
    simulator::releaseBurns();
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[OK]"; }));
    // The end of the burn alone does not stop it.
    QVERIFY(progressTimer().isActive());
    tick();
    QCOMPARE(user.message(), "100%");
    QVERIFY(!progressTimer().isActive());
  }

  void aSuccessThatNeverReported100LeavesTheTimerRunning() {
    startHeldBurn({99.0F, 99.99F});
    simulator::releaseBurns();
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[OK]"; }));
    tick();
    QCOMPARE(user.message(), "99%");
    QVERIFY(progressTimer().isActive());
  }

  void afterAFailureTheTimerGoesOnWithTheLastPercentage() {
    startHeldBurn({10.0F, 42.9F});
    simulator::holdBurns(2);
    QVERIFY(waitForProgress(42));
    simulator::unplug();
    simulator::releaseBurns();
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[Fail]"; }));
    // The timer itself rewrites the message, without a tick from the test.
    progressTimer().setInterval(1);
    for (int i = 0; i < 3; ++i) {
      user.widget<QLabel>("LB_Message").setText("Burn CAP...[Fail]");
      QVERIFY(waitFor([&] { return user.message() == "42%"; }));
      QVERIFY(progressTimer().isActive());
    }
  }

  void theProgressIsResetByTheBurnItself() {
    burnProgress = 55;
    user.click("BN_Connect");
    browse(write("firmware.img", imageFor("KVR-7")));
    // Refused by the library before it reports anything.
    simulator::failCall("burnToFlash", 1, -1);
    user.click("BN_Apply_CapMCU_QX");
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[Fail]"; }));
    QCOMPARE(burnProgress.load(), 0);
  }

  void everyOtherStatusThanZeroIsAFailure_data() {
    QTest::addColumn<int>("status");
    for (const int status : {1, -1, INT_MIN, INT_MAX}) {
      QTest::addRow("%d", status) << status;
    }
  }

  void everyOtherStatusThanZeroIsAFailure() {
    QFETCH(int, status);
    user.click("BN_Connect");
    browse(write("firmware.img", imageFor("KVR-7")));
    simulator::failCall("burnToFlash", 1, status);
    QTest::ignoreMessage(QtDebugMsg, kExit);
    user.click("BN_Apply_CapMCU_QX");
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[Fail]"; }));
    QVERIFY(waitFor([&] { return workers().isEmpty(); }));
  }

  void anInterruptedBurnLeavesNoFirmwareUntilAGoodOne_data() {
    QTest::addColumn<QString>("interruption");
    QTest::addColumn<int>("status");
    QTest::newRow("unplugged") << "unplug" << simulator::kDeviceGone;
    QTest::newRow("unplugged and back") << "replug" << simulator::kDeviceGone;
    QTest::newRow("rebooted") << "reboot" << simulator::kDeviceGone;
    QTest::newRow("port closed") << "close" << simulator::kNoPort;
  }

  void anInterruptedBurnLeavesNoFirmwareUntilAGoodOne() {
    QFETCH(QString, interruption);
    QFETCH(int, status);
    user.click("BN_Connect");
    const QByteArray image = imageFor("KVR-7");
    browse(write("firmware.img", image));
    simulator::holdBurns(10);
    user.click("BN_Apply_CapMCU_QX");
    QVERIFY(waitFor([] { return simulator::heldBurns() == 1; }));
    simulator::clearJournal();
    if (interruption == "reboot") {
      user.click("BN_Apply_Reboot");
      simulator::advanceTime(std::chrono::seconds(5));
    } else if (interruption == "close") {
      user.choose("CB_DeviceType", "KVR-5B");
      user.click("BN_Connect");
    } else {
      simulator::unplug();
      if (interruption == "replug") {
        simulator::replug();
      }
    }
    simulator::releaseBurns();
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[Fail]"; }));
    QCOMPARE(simulator::journal().back().result, status);
    QVERIFY(flashContent(image.size()) != image);
    simulator::replug();
    QCOMPARE(versionAfterReconnect(), "Get Capture Version [fail]");

    user.click("BN_Apply_CapMCU_QX");
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[OK]"; }));
    QCOMPARE(flashContent(image.size()), image);
    QCOMPARE(versionAfterReconnect(), "V4.56.78");
  }

  void aFlashThatFailsLeavesNoFirmware() {
    QCOMPARE(simulator::loadScenario(R"({"faults": [{"at": "captureFlash", "fromPercent": 60.5}]})"), std::string());
    simulator::useVirtualTime();
    user.click("BN_Connect");
    browse(write("firmware.img", imageFor("KVR-7", 1'000'000)));
    user.click("BN_Apply_CapMCU_QX");
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[Fail]"; }));
    QCOMPARE(simulator::journal().back().result, simulator::kFlashFault);
    QCOMPARE(burnProgress.load(), 60);
    QCOMPARE(versionAfterReconnect(), "Get Capture Version [fail]");
  }

  void anImageTooLargeForTheFlashIsRefusedAndTheFirmwareStays() {
    user.click("BN_Connect");
    const QString before = user.text("lb_FW_VER_QX");
    const QString path = write("firmware.img", imageFor("KVR-7"));
    browse(path);
    QVERIFY(QFile::resize(path, 16 * 1024 * 1024 + 1));
    user.click("BN_Apply_CapMCU_QX");
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[Fail]"; }));
    QCOMPARE(simulator::journal().back().result, simulator::kBadFile);
    QCOMPARE(versionAfterReconnect(), before);
  }

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
    QTest::ignoreMessage(QtDebugMsg, kExit);
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
    // Takes the worker's last lock, because the thread sanitizer does not see the
    // synchronisation in QThread::wait.
    messageLine->detach();
    // It has no owner any more.
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
    // After `run`: Qt calls the worker finished, but its thread is still there.
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

 private:
  void tick() { QMetaObject::invokeMethod(&window(), "slotTimeoutExcute"); }

  static QByteArray flashContent(int size) {
    const std::vector<std::uint8_t> content = simulator::captureFlash();
    return QByteArray(reinterpret_cast<const char*>(content.data()), static_cast<int>(content.size())).left(size);
  }

  // The version is read only when connecting.
  QString versionAfterReconnect() const {
    user.choose("CB_DeviceType", "KVR-5B");
    user.click("BN_Connect");
    user.choose("CB_DeviceType", "KVR-7");
    user.click("BN_Connect");
    return user.text("lb_FW_VER_QX");
  }

  // Does not run the event loop, so that only the burn proceeds.
  static bool waitForProgress(int percent) {
    QElapsedTimer time;
    time.start();
    while (burnProgress != percent && time.elapsed() < 10'000) {
      QThread::yieldCurrentThread();
    }
    return burnProgress == percent;
  }

  // Starts a burn that reports these values and waits after the first one.
  void startHeldBurn(const std::vector<float>& reports) {
    user.click("BN_Connect");
    browse(write("firmware.img", imageFor("KVR-7")));
    simulator::reportDuringBurns(reports);
    simulator::holdBurns(1);
    user.click("BN_Apply_CapMCU_QX");
    QVERIFY(waitFor([] { return simulator::heldBurns() == 1; }));
  }
};

QTEST_MAIN(CaptureBurnTest)
#include "capture_burn_test.moc"
