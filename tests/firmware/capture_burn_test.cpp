#include "simulator/device/status.h"
#include "tests/firmware/capture_fixture.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTest>

#include <chrono>
#include <climits>
#include <cmath>
#include <limits>

namespace {

constexpr const char* kExit = "Update Capture exit";

}  // namespace

/// What the window shows during and after a burn.
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
    // The fields hold at most 200 characters.
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
      // Both values round to the same percentage, so wait for the first only.
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
    // The timer rewrites the message by itself, without a tick from the test.
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
    // The library refuses before it reports any progress.
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

 private:
  void tick() { QMetaObject::invokeMethod(&window(), "slotTimeoutExcute"); }

  // The version is only read when connecting.
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

  // Starts a burn that reports these values and pauses after the first one.
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
