#include "tests/firmware/ext_mcu_fixture.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <atomic>
#include <map>
#include <semaphore>

using upgrade_reference::kFamilies;
using namespace std::chrono_literals;

namespace {

// Holds the worker in a pause of its upgrade until the test releases it.
class Halt {
 public:
  explicit Halt(int pause) {
    sleeps::replaceBy([this, pause, seen = std::make_shared<std::atomic<int>>(0)](auto time) {
      if (++*seen == pause) {
        reached_.release();
        go_.acquire();
      }
      simulator::advanceTime(time);
    });
  }
  bool waitUntilReached() {
    return QTest::qWaitFor([this] { return reached_.try_acquire(); }, WindowFixture::kPatienceMs);
  }
  void letGo() { go_.release(); }

 private:
  std::binary_semaphore reached_{0};
  std::binary_semaphore go_{0};
};

}  // namespace

/// Upgrades while something else happens: another image is loaded, another upgrade
/// starts, the window closes.
class ExtMcuWorkerTest : public ExtMcuFixture {
  Q_OBJECT

 private slots:
  void init() { startMcu(); }
  void cleanup() { finish(); }

  void anImageLoadedMeanwhileIsForTheNextUpgrade() {
    Halt halt(20);
    connectDevice();
    const QByteArray first = randomImage(5000, 1);
    const QByteArray second = randomImage(5000, 2);
    load(first);
    const QPointer<QThread> worker = startUpgrade();
    QVERIFY(halt.waitUntilReached());
    load(second);
    halt.letGo();
    QVERIFY(waitForWorker(worker));
    QCOMPARE(user.message(), success());
    QCOMPARE(flashStart(5000), first);

    QCOMPARE(upgrade().last(), success());
    QCOMPARE(flashStart(5000), second);
  }

  void aSecondUpgradeStartedMeanwhileSendsItsOwnImage() {
    startMcu(R"({"family": "v"})");
    Halt halt(20);
    connectDevice();
    const QByteArray first = randomImage(5000, 1);
    const QByteArray second = randomImage(5000, 2);
    load(first);
    simulator::clearJournal();
    texts().clear();
    const QPointer<QThread> worker = startUpgrade();
    QVERIFY(halt.waitUntilReached());
    std::map<std::thread::id, QByteArray> sent;
    collectData(sent);
    load(second);
    sleeps::replaceBy([](auto time) { simulator::advanceTime(time); });
    const QPointer<QThread> other = startUpgrade();
    QVERIFY(other != worker);
    halt.letGo();
    QVERIFY(waitForWorker(worker));
    QVERIFY(waitForWorker(other));
    collectData(sent);
    QVERIFY(sent.size() <= 2);
    for (const auto& [thread, content] : sent) {
      QVERIFY(thread != std::this_thread::get_id());
      QVERIFY(upgrade_reference::padded(kFamilies[1], first).startsWith(content) ||
              upgrade_reference::padded(kFamilies[1], second).startsWith(content));
    }
    // Whatever state the two left behind, a single upgrade succeeds.
    simulator::advanceTime(5s);
    QCOMPARE(upgrade().last(), success());
    QCOMPARE(flashStart(5000), second);
  }

  void aDisconnectMeanwhileEndsTheUpgrade() {
    Halt halt(20);
    connectDevice();
    const QByteArray image = randomImage(5000, 1);
    load(image);
    const QPointer<QThread> worker = startUpgrade();
    QVERIFY(halt.waitUntilReached());
    user.choose("CB_DeviceType", "KVR-5B");
    user.click("BN_Connect");
    QCOMPARE(user.message(), "set Port...[Fail]");
    halt.letGo();
    QVERIFY(waitForWorker(worker));
    QVERIFY(texts().texts().last().contains("Error MCU"));

    user.choose("CB_DeviceType", "KVR-7");
    user.click("BN_Connect");
    QCOMPARE(user.message(), "Device Connected");
    QCOMPARE(upgrade().last(), success());
    QCOMPARE(flashStart(5000), image);
  }

  void anUpgradeOutlivesItsWindow_data() {
    QTest::addColumn<int>("pause");
    for (const int pause : {1, 2, 10, 17, 20, 30}) {
      QTest::addRow("closed in pause %d", pause) << pause;
    }
  }

  void anUpgradeOutlivesItsWindow() {
    QFETCH(int, pause);
    std::binary_semaphore reached{0};
    std::binary_semaphore go{0};
    std::atomic<int> seen = 0;
    sleeps::replaceBy([&](auto time) {
      if (++seen == pause) {
        reached.release();
        go.acquire();
      }
      log.pause(time);
    });
    connectDevice();
    const QByteArray image = randomImage(5000, 1);
    load(image);
    const QPointer<QThread> worker = startUpgrade();
    QVERIFY(QTest::qWaitFor([&reached] { return reached.try_acquire(); }, kPatienceMs));
    log.take();
    closeWindow();
    // Destroying the window did not wait, stop the worker or call the library.
    QVERIFY(!worker.isNull());
    QVERIFY(worker->isRunning());
    QVERIFY(worker->parent() == nullptr);
    QCOMPARE(log.take(), QStringList());

    go.release();
    QVERIFY(worker->wait(kPatienceMs));
    QCOMPARE(flashStart(5000), image);
    // In the real program, it would end with the process.
    delete worker;
  }

  void closingAtAnyMomentHurtsNoRunningUpgrade() {
    std::mt19937 random(20);
    for (int round = 0; round < 100; ++round) {
      startMcu(round % 2 ? R"({"family": "v"})" : "{}");
      sleeps::replaceBy([](auto time) { simulator::advanceTime(time); });
      connectDevice();
      const QByteArray image = randomImage(1 + static_cast<int>(random() % 3000), static_cast<unsigned>(round));
      load(image);
      const QPointer<QThread> worker = startUpgrade();
      // A random moment of the upgrade, which takes a few milliseconds here.
      const auto moment = std::chrono::microseconds(random() % 6000);
      std::this_thread::sleep_for(moment);
      if (random() % 2 != 0U) {
        QCoreApplication::processEvents();
      }
      closeWindow();
      if (worker) {
        QVERIFY(worker->wait(kPatienceMs));
        delete worker;
      }
      QCOMPARE(flashStart(image.size()), image);
    }
  }

  void theWindowStaysAliveDuringAnUpgrade() {
    // This test needs real time.
    QCOMPARE(simulator::loadScenario(R"({"externalMcu": {"family": "v"}, "latencyMs": 0.2})"), std::string());
    connectDevice();
    load(randomImage(500, 1));
    simulator::clearJournal();
    std::atomic<int> sleepsOnWindow = 0;
    sleeps::replaceBy([&, gui = std::this_thread::get_id()](auto time) {
      sleepsOnWindow += std::this_thread::get_id() == gui;
      std::this_thread::sleep_for(time);
    });

    QElapsedTimer sinceTick;
    qint64 worstGap = 0;
    int ticks = 0;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, [&] {
      worstGap = std::max(worstGap, sinceTick.restart());
      ++ticks;
    });
    timer.start(10);
    sinceTick.start();
    const QPointer<QThread> worker = startUpgrade();
    QVERIFY(waitForWorker(worker));
    timer.stop();
    QCOMPARE(user.message(), success());
    qInfo("worst gap between two ticks of a 10 ms timer: %lld ms, %d ticks", worstGap, ticks);

    // Nothing blocked the GUI thread.
    QCOMPARE(sleepsOnWindow, 0);
    QVERIFY(!simulator::journal().empty());
    for (const simulator::JournalEntry& entry : simulator::journal()) {
      QVERIFY(entry.thread != std::this_thread::get_id());
    }
    QVERIFY(ticks > 50);
  }

 private:
  // The payloads of the data packets in the journal, by thread.
  static void collectData(std::map<std::thread::id, QByteArray>& sent) {
    for (const simulator::JournalEntry& entry : simulator::journal()) {
      const QString arguments = QString::fromStdString(entry.arguments);
      const QString data = QStringLiteral("3, 0x43, 68, [00 5A A3 ");
      if (arguments.startsWith(data)) {
        sent[entry.thread] += QByteArray::fromHex(arguments.mid(data.size()).toLatin1()).left(64);
      }
    }
    simulator::clearJournal();
  }
};

QTEST_MAIN(ExtMcuWorkerTest)
#include "ext_mcu_worker_test.moc"
