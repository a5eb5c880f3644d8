#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/operation_table.h"
#include "tests/support/journal.h"

#include <stdexcept>
#include <thread>

using namespace std::chrono_literals;

class SimulatorFaultsTest : public QObject {
  Q_OBJECT

  static void load(const char* scenario) {
    QCOMPARE(QString::fromStdString(simulator::loadScenario(scenario)), QString());
    simulator::useVirtualTime();
  }

  /// Reads the input source several times and returns the statuses.
  static QVector<int> readSource(int times) {
    QVector<int> statuses;
    for (int i = 0; i < times; ++i) {
      std::uint8_t source = 0;
      statuses << AT_Get_Current_Input_Source(&source);
    }
    return statuses;
  }

 private slots:
  void init() {
    simulator::reset();
    simulator::useVirtualTime();
  }

  void theNthCallFails() {
    openDefaultDevice();
    simulator::failCall("AT_Get_Current_Input_Source", 3, -42);
    QCOMPARE(readSource(5), (QVector<int>{0, 0, -42, 0, 0}));
  }

  void aNumberOfCallsFails() {
    openDefaultDevice();
    simulator::failCall("AT_Get_Current_Input_Source", 2, 7, 2);
    QCOMPARE(readSource(5), (QVector<int>{0, 7, 7, 0, 0}));
  }

  void allCallsFailFromOneOn() {
    openDefaultDevice();
    simulator::failCall("AT_Get_Current_Input_Source", 2, -1, 0);
    QCOMPARE(readSource(5), (QVector<int>{0, -1, -1, -1, -1}));
    simulator::reset();
    openDefaultDevice();
    QCOMPARE(readSource(5), (QVector<int>{0, 0, 0, 0, 0}));
  }

  void callsAreCountedFromTheResetWhetherTheySucceedOrNot() {
    QCOMPARE(readSource(2), (QVector<int>{simulator::kNoPort, simulator::kNoPort}));
    openDefaultDevice();
    simulator::failCall("AT_Get_Current_Input_Source", 4, -5);
    QCOMPARE(readSource(3), (QVector<int>{0, -5, 0}));
  }

  void aFailingCallDoesNothing() {
    openDefaultDevice();
    const BurnFile file;
    for (const OperationCall& operation : portOperations(file.path())) {
      simulator::failCall(operation.name, 1, -77);
      Scratch scratch;
      QVERIFY2(operation.run(scratch) == -77, operation.name);
      QVERIFY2(scratch == Scratch(), operation.name);
    }
    for (const char* operation : {"AT_Audio_Set_DACHP_Mute", "AT_Set_System_Reboot"}) {
      simulator::failCall(operation, 2, -77);
    }
    QCOMPARE(AT_Audio_Set_DACHP_Mute(1), -77);
    std::uint8_t mute = 9;
    QCOMPARE(AT_Audio_Get_DACHP_Mute(&mute), 0);
    QCOMPARE(mute, std::uint8_t{0});
    QCOMPARE(AT_Set_System_Reboot(), -77);
    QCOMPARE(readSource(1), QVector<int>{0});
  }

  void aFailedSessionCallLeavesTheSessionAsItWas() {
    simulator::failCall("openPort", 1, -3);
    QCOMPARE(initialize(), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
    QCOMPARE(openPort(), -3);
    QCOMPARE(readSource(1), QVector<int>{simulator::kNoPort});
    QCOMPARE(openPort(), 0);
  }

  void anAnswerIsWrittenUnchanged() {
    openDefaultDevice();
    simulator::answerCall("AT_Get_UVC_Name", 1, 0, std::vector<std::uint8_t>(300, 'y'));
    Scratch scratch;
    QCOMPARE(AT_Get_UVC_Name(scratch.buffer.data(), 100, &scratch.length), 0);
    Scratch expected;
    std::fill_n(expected.buffer.begin(), 100, std::uint8_t{'y'});
    QCOMPARE(scratch, expected);
  }

  void anAnswerSetsTheLengthToo() {
    openDefaultDevice();
    simulator::answerCall("AT_Get_UVC_Name", 1, 0, {'y'}, 0xFFFFFFFF);
    simulator::answerCall("AT_USB_Get_SerialNum", 1, -1, {}, 7);
    Scratch scratch;
    QCOMPARE(AT_Get_UVC_Name(scratch.buffer.data(), 100, &scratch.length), 0);
    QCOMPARE(scratch.length, std::uint32_t{0xFFFFFFFF});
    QCOMPARE(AT_USB_Get_SerialNum(scratch.buffer.data(), 100, &scratch.length), -1);
    QCOMPARE(scratch.length, std::uint32_t{7});
  }

  // The device has completed the operation, of whatever kind.
  void aLateAnswerIsTheDevicesOwn() {
    const BurnFile file;
    std::chrono::nanoseconds burn{};
    for (const bool late : {false, true}) {
      simulator::reset();
      simulator::useVirtualTime();
      if (late) {
        for (const char* operation : {"openPort", "AT_GPIO_Get_Param", "burnToFlash"}) {
          simulator::delayCall(operation, 1, 2s);
        }
      }
      openDefaultDevice();
      simulator::setGpioPin(0, 0, 0x1F);
      std::uint8_t value = 0;
      QCOMPARE(AT_GPIO_Get_Param(0, 0, &value), 0);
      QCOMPARE(value, std::uint8_t{0x1F});
      QCOMPARE(burnToFlash(file.path(), [](float) {}), 0);
      const auto calls = simulator::journal();
      QVERIFY(calls.at(2).duration == (late ? 2s : 0s));
      QVERIFY(calls.at(3).duration == (late ? 2s : 0s));
      QVERIFY(late ? calls.at(4).duration == burn + 2s : calls.at(4).duration > 0s);
      burn = calls.at(4).duration;
    }
  }

  void thePlugIsPulledAtACall() {
    simulator::unplugAtCall("AT_Get_Current_Input_Source", 2);
    openDefaultDevice();
    QCOMPARE(readSource(3), (QVector<int>{0, simulator::kDeviceGone, simulator::kDeviceGone}));
    simulator::replug();
    QCOMPARE(readSource(1), QVector<int>{0});
  }

  void anUnknownOperationOrCallIsRefused() {
    QVERIFY_EXCEPTION_THROWN(simulator::failCall("AT_Get_Custmer_Ver", 1, -1), std::invalid_argument);
    QVERIFY_EXCEPTION_THROWN(simulator::failCall("openPort", 0, -1), std::invalid_argument);
    QVERIFY_EXCEPTION_THROWN(simulator::answerCall("", 1, -1, {}), std::invalid_argument);
    QVERIFY_EXCEPTION_THROWN(simulator::delayCall("openPort", 0, 1s), std::invalid_argument);
    QVERIFY_EXCEPTION_THROWN(simulator::unplugAtCall("plug", 1), std::invalid_argument);
  }

  void aScenarioInjectsFaults() {
    load(R"({"faults": [
      {"at": "AT_Get_Current_Input_Source", "first": 2, "count": 2, "status": -9},
      {"at": "AT_Get_Current_Input_Source", "first": 5, "count": 0},
      {"at": "AT_GPIO_Get_Param", "status": 0, "answer": "1f"}]})");
    openDefaultDevice();
    QCOMPARE(readSource(6), (QVector<int>{0, -9, -9, 0, simulator::kInjected, simulator::kInjected}));
    std::uint8_t value = 0;
    QCOMPARE(AT_GPIO_Get_Param(0, 0, &value), 0);
    QCOMPARE(value, std::uint8_t{0x1F});
  }

  // Whatever a test can do to a call, a scenario can say.
  void aScenarioCanInjectEveryFaultOfATest() {
    load(R"({"faults": [
      {"at": "AT_Get_UVC_Name", "status": 0, "answer": "79", "length": 4294967295},
      {"at": "AT_GPIO_Get_Param", "what": "delay", "delayMs": 2000},
      {"at": "call", "first": 6, "what": "delay", "delayMs": 5},
      {"at": "AT_Get_Current_Input_Source", "first": 2, "what": "unplug", "delayMs": 100}]})");
    openDefaultDevice();
    Scratch scratch;
    QCOMPARE(AT_Get_UVC_Name(scratch.buffer.data(), 100, &scratch.length), 0);
    QCOMPARE(scratch.length, std::uint32_t{0xFFFFFFFF});
    QCOMPARE(AT_GPIO_Get_Param(0, 0, scratch.buffer.data()), 0);
    QVERIFY(simulator::journal().back().duration == 2s);
    QCOMPARE(readSource(3), (QVector<int>{0, simulator::kDeviceGone, simulator::kDeviceGone}));
    QVERIFY(simulator::journal().at(5).duration == 5ms);
    simulator::advanceTime(100ms);
    QCOMPARE(readSource(2), (QVector<int>{0, 0}));
  }

  void theSeedDecidesRandomFaults() {
    const auto statuses = [](const char* seed) {
      const std::string faults = R"("faults": [{"at": "AT_Get_Current_Input_Source", "perMille": 300, "status": -9}]})";
      load((std::string(R"({"seed": )") + seed + ", " + faults).c_str());
      openDefaultDevice();
      return readSource(1000);
    };
    const QVector<int> seen = statuses("1");
    QVERIFY(seen.count(-9) > 200 && seen.count(-9) < 400);
    QCOMPARE(seen.count(-9) + seen.count(0), 1000);
    QCOMPARE(statuses("1"), seen);
    QVERIFY(statuses("2") != seen);
  }

  void aFaultAtAStepOfABurnAPacketOrATransferPullsThePlug() {
    const BurnFile file;
    load(R"({"faults": [{"at": "captureFlash", "first": 2, "what": "unplug", "delayMs": 10}]})");
    openDefaultDevice();
    QCOMPARE(burnToFlash(file.path(), [](float) {}), simulator::kDeviceGone);
    simulator::advanceTime(10ms);
    std::uint8_t version[128];
    QCOMPARE(AT_Get_Customer_Ver(version), simulator::kNoFirmware);
    QCOMPARE(burnToFlash(file.path(), [](float) {}), 0);
    load(R"({"externalMcu": {"mode": "bootLoader"}, "faults": [{"at": "mcu.setBoot", "what": "unplug"}]})");
    openDefaultDevice();
    const std::uint8_t setBoot[] = {0x01, 0x01};
    AT_System_Send_ExternalMCU_cmd(3, 0x43, 2, setBoot);
    QCOMPARE(readSource(1), QVector<int>{simulator::kDeviceGone});
    load(R"({"faults": [{"at": "transfer", "first": 2, "what": "unplug"}]})");
    openDefaultDevice();
    QCOMPARE(readSource(3), (QVector<int>{0, 0, simulator::kDeviceGone}));
  }

  void unitsArePluggedInOneAfterTheOther() {
    load(R"({"nextUnitAfterMs": 50, "edid": {"defaultSlot": 3}, "units": [
      {"unplugAfterMs": 1000}, {"edid": {"defaultSlot": 4}, "unplugAfterCalls": 6}, {"edid": {"defaultSlot": 5}}]})");
    const auto slot = [] {
      std::uint8_t value = 99;
      const std::int32_t status = AT_EDID_Flash_Get_Default_table(&value);
      return status == 0 ? int{value} : status;
    };
    openDefaultDevice();
    QCOMPARE(slot(), 3);
    simulator::advanceTime(1000ms);
    QCOMPARE(slot(), simulator::kDeviceGone);
    simulator::advanceTime(50ms);
    // The next unit is plugged in, but the port still belongs to the first one.
    QCOMPARE(slot(), simulator::kDeviceGone);
    QCOMPARE(closePort(), simulator::kDeviceGone);
    openDefaultDevice();
    QCOMPARE(slot(), 4);
    // Counted per unit: two calls of the old port, three of Connect, the one above.
    QCOMPARE(slot(), simulator::kDeviceGone);
    QVERIFY(simulator::plugNextUnit());
    QVERIFY(!simulator::plugNextUnit());
    QCOMPARE(closePort(), simulator::kDeviceGone);
    openDefaultDevice();
    QCOMPARE(slot(), 5);
  }

  void thePlugIsPulledAfterANumberOfCalls() {
    load(R"({"unplugAfterCalls": 5})");
    openDefaultDevice();
    QCOMPARE(readSource(4), (QVector<int>{0, 0, simulator::kDeviceGone, simulator::kDeviceGone}));
    simulator::replug();
    QCOMPARE(readSource(2), (QVector<int>{0, 0}));
  }

  void thePlugIsPulledAfterATime() {
    load(R"({"unplugAfterMs": 20.5})");
    const auto start = simulator::now();
    openDefaultDevice();
    simulator::advanceTime(20499999ns - start);
    QCOMPARE(readSource(1), (QVector<int>{0}));
    simulator::advanceTime(1ns);
    QCOMPARE(readSource(2), (QVector<int>{simulator::kDeviceGone, simulator::kDeviceGone}));
    simulator::replug();
    QCOMPARE(readSource(2), (QVector<int>{0, 0}));
  }

  void thePlugIsPulledOnceNobodyWorksOnTheDevice() {
    load(R"({"unplugAfterIdleMs": 1000})");
    openDefaultDevice();
    simulator::advanceTime(900ms);
    QCOMPARE(AT_EDID_Flash_Set_Default_table(3), 0);
    simulator::advanceTime(900ms);
    QCOMPARE(readSource(1), (QVector<int>{0}));  // reads do not count as work
    simulator::advanceTime(100ms);
    QCOMPARE(readSource(1), (QVector<int>{simulator::kDeviceGone}));
  }

  // A unit's idle time starts when it is plugged in, and a burn counts as work throughout.
  void thePlugStaysDuringABurnOfALaterUnit() {
    const BurnFile file;  // of 95 ms
    load(R"({"units": [{}, {"unplugAfterIdleMs": 90}]})");
    simulator::advanceTime(5000ms);
    QVERIFY(simulator::plugNextUnit());
    openDefaultDevice();
    QCOMPARE(burnToFlash(file.path(), [](float) {}), 0);
    simulator::advanceTime(79ms);
    QCOMPARE(readSource(1), (QVector<int>{0}));
  }

  // The device disappears during the call.
  void thePlugIsPulledDuringACall() {
    load(R"({"unplugAfterMs": 1000, "latencyMs": 600})");
    openDefaultDevice();
    QCOMPARE(readSource(2), (QVector<int>{0, simulator::kDeviceGone}));
  }

  void theJournalHasEveryCall() {
    openDefaultDevice();
    simulator::clearJournal();
    const std::uint8_t bytes[] = {0x08, 0x01, 0xFF};
    AT_System_Send_ExternalMCU_cmd(3, 0x7F, 3, bytes);
    std::uint8_t read[4] = {};
    AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, bytes, 4, read);
    AT_GPIO_Set_Param(1, 13, 31);
    const std::int16_t gain = -12;
    AT_Audio_Set_HPOUTgain(&gain);
    burnHDCP("/no such file");
    AT_Input_Source_Switch(nullptr);
    AT_EDID_Get_TX_table(384, nullptr);
    AT_RestoreToDefault();
    setDevice(0, 1, 0x5C19, 0x3);
    const std::vector<std::uint8_t> large(2000);
    AT_EDID_Flash_Set_table(6, large.data(), 2000);
    QCOMPARE(journalCalls(),
             (QStringList{"AT_System_Send_ExternalMCU_cmd(3, 0x7F, 3, [08 01 FF])",
                          "AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, [08], 4)", "AT_GPIO_Set_Param(1, 13, 31)",
                          "AT_Audio_Set_HPOUTgain(-12)", "burnHDCP(\"/no such file\")", "AT_Input_Source_Switch(null)",
                          "AT_EDID_Get_TX_table(384)", "AT_RestoreToDefault()", "setDevice(0, 1, 0x5C19, 0x0003)",
                          "AT_EDID_Flash_Set_table(6, [2000 bytes], 2000)"}));
    QVector<int> results;
    for (const simulator::JournalEntry& entry : simulator::journal()) {
      results << entry.result;
      QVERIFY(entry.thread == std::this_thread::get_id());
      QVERIFY(entry.duration == 0ns);
    }
    QCOMPARE(results,
             (QVector<int>{simulator::kNoAnswer, 0, 0, 0, simulator::kBadFile, simulator::kInvalidArgument,
                           simulator::kInvalidArgument, 0, simulator::kInvalidArgument, simulator::kInvalidArgument}));
  }

  void theJournalNamesTheThread() {
    std::thread::id other;
    std::thread worker([&other] {
      other = std::this_thread::get_id();
      initialize();
    });
    worker.join();
    QVERIFY(simulator::journal().at(0).thread == other);
  }

  void latencyTakesVirtualTimeOfCallsThatReachTheDevice() {
    load(R"({"latencyMs": 2.5})");
    openDefaultDevice();
    const auto start = simulator::now();
    readSource(4);
    QVERIFY(simulator::now() - start == 10ms);
    QVERIFY(simulator::journal().back().duration == 2500us);
    QVERIFY(simulator::journal().front().duration == 0ns);
    QCOMPARE(closePort(), 0);
    QCOMPARE(readSource(1), QVector<int>{simulator::kNoPort});
    QVERIFY(simulator::journal().back().duration == 0ns);
  }

  void latencyTakesRealTime() {
    QCOMPARE(simulator::loadScenario(R"({"latencyMs": 20})"), std::string());
    openDefaultDevice();
    const auto start = std::chrono::steady_clock::now();
    readSource(1);
    QVERIFY(std::chrono::steady_clock::now() - start >= 20ms);
    QVERIFY(simulator::journal().back().duration >= 20ms);
  }

  void theSpeedFactorShortensTheDevicesWork() {
    const BurnFile file;
    std::chrono::nanoseconds durations[2];
    for (const int fast : {0, 1}) {
      load(fast ? R"({"speedFactor": 10})" : "{}");
      openDefaultDevice();
      QCOMPARE(burnToFlash(file.path(), [](float) {}), 0);
      durations[fast] = simulator::journal().back().duration;
    }
    QVERIFY(durations[0] > 50ms);
    QVERIFY(durations[0] == 10 * durations[1]);
  }
};

QTEST_GUILESS_MAIN(SimulatorFaultsTest)
#include "faults_test.moc"
