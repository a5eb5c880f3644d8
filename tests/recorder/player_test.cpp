#include "recorder/player.h"

#include "device/boot_packet.h"
#include "recorder/recorder.h"
#include "tests/recorder/through.h"

#include <QFile>
#include <QTest>

#include <array>
#include <atomic>
#include <cstring>
#include <thread>

namespace {

using device::Operation;
using recorder::Bytes;
using recorder::Player;
using recorder::Recorder;
using recorder::Recording;

std::atomic<std::uint8_t> countOfReads = 0;

std::int32_t countingRead(std::uint8_t* buffer) {
  *buffer = ++countOfReads;
  return *buffer % 5 == 0 ? -1 : 0;
}

std::atomic<RTICE_ProgressCallback> keptCallback;

std::int32_t burn(const char* /*path*/, RTICE_ProgressCallback progress) {
  progress(10);
  std::thread([progress] { progress(20); }).join();
  keptCallback = progress;
  return 3;
}

std::vector<std::uint8_t> storedSerial;

std::int32_t storeSerial(const std::uint8_t* bytes, std::uint32_t length) {
  storedSerial.assign(bytes, bytes + length);
  return 0;
}

std::int32_t readSerial(std::uint8_t* buffer, std::uint32_t /*capacity*/, std::uint32_t* length) {
  std::copy(storedSerial.begin(), storedSerial.end(), buffer);
  *length = static_cast<std::uint32_t>(storedSerial.size());
  return 0;
}

recorder::FunctionTable library() {
  auto functions = quiet_library::functions();
  quiet_library::put(functions, Operation::AT_EDID_Get_EDID_mode, &countingRead);
  quiet_library::put(functions, Operation::burnToFlash, &burn);
  quiet_library::put(functions, Operation::AT_USB_Set_SerialNum, &storeSerial);
  quiet_library::put(functions, Operation::AT_USB_Get_SerialNum, &readSerial);
  return functions;
}

/// A recording of `program` using the library above.
template <typename Program>
Recording recorded(const Program& program, bool redacted = false, bool finished = true) {
  const QTemporaryDir folder;
  const auto file = pathIn(folder, "calls.jsonl");
  countOfReads = 0;
  storedSerial = {'O', 'L', 'D', '7'};
  Recorder::Options options;
  options.functions = library();
  options.file = file;
  options.header.redacted = redacted;
  Recorder recorder(options);
  program(recorder);
  if (finished) {
    recorder.finish();
  }
  auto recording = recorder::readRecording(file);
  if (!recording) {
    qFatal("%s", recording.error().text().c_str());
  }
  recording->file = "calls.jsonl";
  return *std::move(recording);
}

template <typename Program>
std::string replayed(const Recording& recording, const Program& program, int patience = 10'000) {
  std::string report;
  Player::Options options;
  options.patience = std::chrono::milliseconds(patience);
  options.report = [&](const std::string& text) { report += text; };
  Player player(recording, options);
  program(player);
  player.finish();
  return report;
}

template <typename Target>
int readMode(Target& target) {
  std::uint8_t mode = 0;
  const std::int32_t result = THROUGH(target, AT_EDID_Get_EDID_mode, &mode);
  return result == 0 ? mode : -mode;
}

const auto kFiveCalls = [](auto& target) {
  THROUGH(target, openPort);
  THROUGH(target, AT_HdmiRX_Set_HPD, 1);
  THROUGH(target, AT_GPIO_Set_Param, 1, 13, 1);
  const Bytes table(256, 0x11);
  THROUGH(target, AT_EDID_Flash_Set_table, 2, table.data(), 256);
  THROUGH(target, closePort);
};

std::vector<float> percents;
std::mutex percentsMutex;
void notePercent(float percent) {
  const std::scoped_lock lock(percentsMutex);
  percents.push_back(percent);
}

}  // namespace

class PlayerTest : public QObject {
  Q_OBJECT

 private slots:
  void theSameCallsGetTheSameAnswers() {
    std::vector<int> before;
    std::vector<int> after;
    const auto program = [](std::vector<int>& modes) {
      return [&modes](auto& target) {
        for (int i = 0; i < 10; ++i) {
          modes.push_back(readMode(target));
        }
      };
    };
    const Recording recording = recorded(program(before));
    QCOMPARE(replayed(recording, program(after)), std::string("complete: 10 calls replayed\n"));
    QVERIFY(before == after);
    QVERIFY2(std::count(before.begin(), before.end(), -5) == 1, "failures write, too");
  }

  void aDifferenceIsReportedOnceAndEveryLaterCallFails() {
    const Recording recording = recorded(kFiveCalls);
    std::vector<std::int32_t> results;
    const std::string report = replayed(recording, [&](auto& target) {
      results.push_back(THROUGH(target, openPort));
      results.push_back(THROUGH(target, AT_HdmiRX_Set_HPD, 1));
      results.push_back(THROUGH(target, AT_GPIO_Set_Param, 1, 13, 0));
      results.push_back(THROUGH(target, AT_GPIO_Set_Param, 1, 13, 1));
      results.push_back(THROUGH(target, closePort));
    });
    const std::vector<std::int32_t> expected{0, 0, Player::kDifferent, Player::kDifferent, Player::kDifferent};
    QVERIFY(results == expected);
    QCOMPARE(report, std::string("difference at calls.jsonl:5\n"
                                 "  expected: AT_GPIO_Set_Param(group=1, index=13, value=1)\n"
                                 "  got: AT_GPIO_Set_Param(group=1, index=13, value=0)\n"
                                 "  first difference: value: 0 instead of 1\n"
                                 "  before it: calls.jsonl:2 openPort() returned 0\n"
                                 "  before it: calls.jsonl:3 AT_HdmiRX_Set_HPD(on=1) returned 0\n"));
  }

  void differencesAreReported_data() {
    QTest::addColumn<int>("skipped");
    QTest::addColumn<int>("repeated");
    QTest::addColumn<int>("made");
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("part");
    QTest::newRow("a call skipped") << 1 << -1 << 5 << "difference at calls.jsonl:3\n"
                                    << "got: AT_GPIO_Set_Param";
    QTest::newRow("a call repeated") << -1 << 0 << 5 << "difference at calls.jsonl:3\n"
                                     << "got: openPort()";
    QTest::newRow("calls left over") << -1 << -1 << 3 << "difference at calls.jsonl:7\n"
                                     << "2 calls are left over";
    QTest::newRow("nothing called") << -1 << -1 << 0 << "difference at calls.jsonl:2\n"
                                    << "5 calls are left over";
    QTest::newRow("a call too many") << -1 << 4 << 5 << "difference at calls.jsonl:10\n"
                                     << "expected: nothing more from this thread";
  }

  void differencesAreReported() {
    QFETCH(int, skipped);
    QFETCH(int, repeated);
    QFETCH(int, made);
    QFETCH(QString, start);
    QFETCH(QString, part);
    const Bytes table(256, 0x11);
    const Recording recording = recorded(kFiveCalls);
    const QString report = QString::fromStdString(replayed(recording, [&](auto& target) {
      for (int i = 0; i < made; ++i) {
        for (int times = i == skipped ? 0 : i == repeated ? 2 : 1; times > 0; --times) {
          switch (i) {
            case 0:
              THROUGH(target, openPort);
              break;
            case 1:
              THROUGH(target, AT_HdmiRX_Set_HPD, 1);
              break;
            case 2:
              THROUGH(target, AT_GPIO_Set_Param, 1, 13, 1);
              break;
            case 3:
              THROUGH(target, AT_EDID_Flash_Set_table, 2, table.data(), 256);
              break;
            default:
              THROUGH(target, closePort);
              break;
          }
        }
      }
    }));
    QVERIFY2(report.startsWith(start), qPrintable(report));
    QVERIFY2(report.contains(part), qPrintable(report));
  }

  void theFirstDifferingByteIsReported() {
    const auto program = [](std::uint8_t byte) {
      return [byte](auto& target) {
        Bytes table(256, 0x11);
        table[200] = byte;
        THROUGH(target, AT_EDID_Flash_Set_table, 2, table.data(), 256);
      };
    };
    const std::string report = replayed(recorded(program(0x22)), program(0x33));
    QVERIFY2(report.find("first difference: bytes, byte 200: 0x33 instead of 0x22\n") != std::string::npos,
             report.c_str());
  }

  void callbacksComeAgainFromTheirThreadsAndLateOnesLate() {
    percents.clear();
    const Recording recording = recorded([](auto& target) {
      THROUGH(target, burnToFlash, "x", &notePercent);
      keptCallback.load()(30);
      THROUGH(target, closePort);
      keptCallback.load()(40);
    });
    const std::vector<float> expected{10, 20, 30, 40};
    QVERIFY(percents == expected);
    percents.clear();
    std::vector<float> duringBurn;
    const std::string report = replayed(recording, [&](auto& target) {
      QCOMPARE(THROUGH(target, burnToFlash, "x", &notePercent), 3);
      {
        const std::scoped_lock lock(percentsMutex);
        duringBurn = {percents.begin(), percents.begin() + 2};
        QVERIFY(percents.size() <= 3);
      }
      THROUGH(target, closePort);
      const auto all = [&] {
        const std::scoped_lock lock(percentsMutex);
        return percents.size() == 4;
      };
      QTRY_VERIFY(all());
    });
    QCOMPARE(report, std::string("complete: 2 calls replayed\n"));
    QVERIFY(percents == expected);
  }

  void aCallWaitsForThoseThatHadEndedBeforeIt() {
    // The worker was recorded after the main thread's call; in the replay it comes first.
    const Recording recording = recorded([](auto& target) {
      THROUGH(target, openPort);
      std::thread([&] { THROUGH(target, AT_HdmiRX_Set_HPD, 1); }).join();
    });
    std::atomic<bool> opened = false;
    const std::string report = replayed(recording, [&](auto& target) {
      bool cameAfter = false;
      std::thread worker([&] {
        THROUGH(target, AT_HdmiRX_Set_HPD, 1);
        cameAfter = opened;
      });
      opened = true;
      THROUGH(target, openPort);
      worker.join();
      QVERIFY(cameAfter);
    });
    QCOMPARE(report, std::string("complete: 2 calls replayed\n"));

    const std::string alone = replayed(
        recording, [](auto& target) { std::thread([&] { THROUGH(target, AT_HdmiRX_Set_HPD, 1); }).join(); }, 20);
    QVERIFY2(alone.find("they did not come in time") != std::string::npos, alone.c_str());
  }

  void aCallThatNeverReturnedFails() {
    Recording recording = recorded(kFiveCalls, false, false);
    recording.calls[2].ending.reset();
    recording.calls.resize(3);
    const std::string report = replayed(recording, kFiveCalls);
    QVERIFY2(report.find("the recording ends during the call") != std::string::npos, report.c_str());
  }

  void aRecordingWithoutCallsExpectsNone() {
    const Recording recording = recorded([](auto&) {});
    QCOMPARE(replayed(recording, [](auto&) {}), std::string("complete: 0 calls replayed\n"));
    const std::string report = replayed(recording, kFiveCalls);
    QVERIFY2(report.find("expected: no further thread") != std::string::npos, report.c_str());
  }

  void aRedactedRecordingReplaysAgainstTheRealBytes() {
    const std::string newSerial = "SN-12345";
    std::array<std::uint8_t, 100> buffer{};
    std::uint32_t length = 0;
    const auto program = [&](std::uint8_t dataByte) {
      return [&, dataByte](auto& target) {
        const auto packet = device::bootPacket(device::BootCommand::kData, Bytes(64, dataByte));
        THROUGH(target, AT_System_Send_ExternalMCU_cmd, 3, 0x43, 68, packet.data());
        buffer = {};
        THROUGH(target, AT_USB_Get_SerialNum, buffer.data(), 100, &length);
        const std::string old(reinterpret_cast<const char*>(buffer.data()), length);
        THROUGH(target, AT_USB_Set_SerialNum, reinterpret_cast<const std::uint8_t*>(newSerial.data()), 8);
        THROUGH(target, AT_USB_Get_SerialNum, buffer.data(), 100, &length);
        return old;
      };
    };
    const Recording recording = recorded(program(0x77), true);
    std::string old;
    const std::string report = replayed(recording, [&](auto& target) { old = program(0x77)(target); });
    QCOMPARE(report, std::string("complete: 4 calls replayed\n"));
    QCOMPARE(old.size(), std::size_t{4});
    QVERIFY(old != "OLD7");
    QCOMPARE(std::string(reinterpret_cast<const char*>(buffer.data()), length), newSerial);

    const std::string other = replayed(recording, [&](auto& target) { program(0x78)(target); });
    QVERIFY2(other.rfind("difference", 0) == 0, other.c_str());
  }
};

QTEST_GUILESS_MAIN(PlayerTest)
#include "player_test.moc"
