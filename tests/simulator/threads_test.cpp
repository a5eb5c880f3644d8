#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/operation_table.h"

#include <atomic>
#include <map>
#include <thread>

class SimulatorThreadsTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { simulator::reset(); }

  void callsFromSeveralThreadsAreEachServedOnce() {
    simulator::useVirtualTime();
    openDefaultDevice();
    simulator::clearJournal();
    const BurnFile file;
    auto operations = portOperations(file.path());
    operations.pop_back();  // a restart would refuse the others
    constexpr int kThreads = 4;
    constexpr int kRounds = 25;
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&] {
        for (int round = 0; round < kRounds; ++round) {
          for (const OperationCall& operation : operations) {
            Scratch scratch;
            const int status = operation.run(scratch);
            // Of two simultaneous burns one is refused, and meanwhile there is no version.
            failures += status < 0 && status != simulator::kBurnRunning && status != simulator::kNoFirmware;
          }
        }
      });
    }
    // Observes the device at the same time.
    for (int i = 0; i < 100; ++i) {
      simulator::advanceTime(std::chrono::milliseconds(1));
      simulator::journal();
      simulator::failCall("closePort", 1, -1);
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    QCOMPARE(failures.load(), 0);
    std::map<std::string, int> calls;
    for (const simulator::JournalEntry& entry : simulator::journal()) {
      ++calls[entry.operation];
    }
    QCOMPARE(calls.size(), operations.size());
    for (const auto& [operation, count] : calls) {
      QVERIFY2(count == kThreads * kRounds, operation.c_str());
    }
  }

  void aCallIsUnderWayUntilItReturns() {
    simulator::useVirtualTime();
    openDefaultDevice();
    QCOMPARE(simulator::callsUnderWay(), 0U);
    const BurnFile file;
    simulator::holdBurns(1);
    std::thread burning([&file] { burnToFlash(file.path(), [](float) {}); });
    while (simulator::heldBurns() == 0) {
      std::this_thread::yield();
    }
    QCOMPARE(simulator::callsUnderWay(), 1U);
    simulator::releaseBurns();
    burning.join();
    QCOMPARE(simulator::callsUnderWay(), 0U);
  }

  void pluggingAndResettingUnderCallsDoesNoHarm() {
    simulator::useVirtualTime();
    const BurnFile file;
    std::atomic<bool> stop = false;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 3; ++i) {
      threads.emplace_back([&] {
        const auto operations = portOperations(file.path());
        while (!stop) {
          initialize();
          setDevice(0, 0, 0x5C19, 0x6B03);
          openPort();
          for (const OperationCall& operation : operations) {
            Scratch scratch;
            operation.run(scratch);
          }
          closePort();
        }
      });
    }
    for (int i = 0; i < 200; ++i) {
      simulator::useVirtualTime();
      simulator::unplug();
      simulator::replug();
      simulator::advanceTime(std::chrono::seconds(2));
      if (i % 10 == 0) {
        // Briefly back in real time, where a burn must not take seconds.
        simulator::loadScenario(R"({"speedFactor": 1000000})");
      }
    }
    stop = true;
    for (std::thread& thread : threads) {
      thread.join();
    }
    simulator::reset();
    openDefaultDevice();
  }
};

QTEST_GUILESS_MAIN(SimulatorThreadsTest)
#include "threads_test.moc"
