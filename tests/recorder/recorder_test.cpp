#include "recorder/recorder.h"

#include "simulator/control/control.h"
#include "tests/recorder/recordings.h"
#include "tests/recorder/through.h"
#include "tests/support/test_files.h"

#include <QTest>

#include <array>
#include <atomic>
#include <cstring>
#include <limits>
#include <thread>

namespace {

using device::Operation;
using recorder::Bytes;
using recorder::Input;
using recorder::Recorder;
using recorder::Recording;

std::filesystem::path fileWith(const QTemporaryDir& folder, const char* name, const QByteArray& content) {
  const std::filesystem::path path = pathIn(folder, name);
  writeFile(QString::fromStdU16String(path.u16string()), content);
  return path;
}

// The result of one call of each operation, with enough room for its output.
struct Answer {
  std::string operation;
  std::int32_t result;
  Bytes bytes;
  bool operator==(const Answer&) const = default;
};

template <typename Function>
struct CallOnce;
template <typename... Parameters>
struct CallOnce<std::int32_t (*)(Parameters...)> {
  template <typename Target>
  static Answer call(Target& target, Operation operation) {
    std::array<std::uint8_t, 1024> memory{};
    const device::OperationDescription& description = device::describe(operation);
    std::array<recorder::RawArgument, sizeof...(Parameters)> arguments{};
    for (std::size_t i = 0; i < arguments.size(); ++i) {
      const device::Parameter& parameter = description.parameters()[i];
      if (parameter.direction == device::Direction::kOutput || parameter.direction == device::Direction::kInput) {
        arguments[i] = recorder::rawArgument(memory.data() + 512 * (i % 2));
      } else if (parameter.direction == device::Direction::kValue) {
        arguments[i].number = parameter.name == "capacity" ? 64 : parameter.name == "size" ? 256 : 1;
      }
    }
    if (operation == Operation::setDevice) {
      arguments[0].number = arguments[1].number = 0;
      arguments[2].number = 0x5C19;
      arguments[3].number = 0x6B03;
    }
    using Invoker = recorder::Invoker<std::int32_t (*)(Parameters...)>;
    const std::int32_t result = target.call(operation, arguments, &Invoker::invoke);
    return {std::string(description.name), result, Bytes(memory.begin(), memory.end())};
  }
};

struct Unrecorded {
  recorder::FunctionTable functions = simulatedDevice();
  std::int32_t call(Operation operation, std::span<const recorder::RawArgument> arguments, recorder::Invoke invoke) {
    return invoke(functions[static_cast<std::size_t>(operation)], arguments);
  }
};

template <typename Target>
std::vector<Answer> everyOperation(Target& target) {
  simulator::reset();
  simulator::useVirtualTime();
  std::vector<Answer> answers;
  const auto once = [&](Answer answer) { answers.push_back(std::move(answer)); };
  // In the header's order, except for the two that end the session.
#define OPERATION(name, ...)                                                                   \
  if (Operation::name != Operation::closePort && Operation::name != Operation::uninitialize) { \
    once(CallOnce<decltype(&::name)>::call(target, Operation::name));                          \
  }
#include "device/operations.inc"
#undef OPERATION
  once(CallOnce<decltype(&::closePort)>::call(target, Operation::closePort));
  once(CallOnce<decltype(&::uninitialize)>::call(target, Operation::uninitialize));
  return answers;
}

Bytes bytesOf(const char* text) { return {text, text + std::strlen(text)}; }

std::int32_t failingVersion(std::uint8_t* buffer) {
  buffer[3] = 'x';
  buffer[5] = 'y';
  return -7;
}

std::atomic<RTICE_ProgressCallback> lateCallback;

std::int32_t burnWithThreads(const char* /*path*/, RTICE_ProgressCallback progress) {
  progress(1.5F);
  std::thread([progress] { progress(std::numeric_limits<float>::quiet_NaN()); }).join();
  lateCallback = progress;
  return 0;
}

std::vector<float> received;

}  // namespace

class RecorderTest : public QObject {
  Q_OBJECT

 private slots:
  void everyOperationAnswersAsWithoutTheRecorder() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "all.jsonl");
    Unrecorded unrecorded;
    const std::vector<Answer> expected = everyOperation(unrecorded);
    Recorder recorder(optionsFor(simulatedDevice(), file));
    const std::vector<Answer> answers = everyOperation(recorder);
    for (std::size_t i = 0; i < expected.size(); ++i) {
      QVERIFY2(answers.at(i) == expected[i], expected[i].operation.c_str());
    }
    recorder.finish();

    const Recording recording = readBack(file);
    QVERIFY(recording.walk.complete);
    QCOMPARE(recording.calls.size(), std::size_t{44});
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const recorder::RecordedCall& call = recording.calls[i];
      QCOMPARE(std::string(call.image.description().name), expected[i].operation);
      QCOMPARE(call.image.result, expected[i].result);
      QCOMPARE(call.place.number, i + 1);
      QCOMPARE(call.place.after, i);
      QCOMPARE(call.place.thread, 1U);
      QVERIFY(call.ending.has_value());
    }
  }

  void theChangingCallsHaveALineForTheirBeginning() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "all.jsonl");
    Recorder recorder(optionsFor(simulatedDevice(), file));
    everyOperation(recorder);
    recorder.finish();
    QCOMPARE(contentOf(file).count("\"kind\":\"begin\""), 16);
    QCOMPARE(contentOf(file).count("\"kind\":\"end\""), 16);
    QCOMPARE(contentOf(file).count("\"kind\":\"call\""), 28);
  }

  void whatAFailedCallWroteIsRecorded() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "failed.jsonl");
    auto functions = quiet_library::functions();
    quiet_library::put(functions, Operation::AT_Get_Customer_Ver, &failingVersion);
    Recorder recorder(optionsFor(functions, file));
    std::array<std::uint8_t, 128> buffer{};
    QCOMPARE(THROUGH(recorder, AT_Get_Customer_Ver, buffer.data()), -7);
    const Recording recording = readBack(file);
    QCOMPARE(recording.calls.at(0).image.result, -7);
    QCOMPARE(recording.calls.at(0).image.outputs[0].offset, std::size_t{3});
    const Bytes changed{'x', 0, 'y'};
    QVERIFY(recording.calls.at(0).image.outputs[0].bytes == changed);
    QVERIFY(!recording.walk.complete);
  }

  void inputsAreRecordedByTheirKind() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "inputs.jsonl");
    Recorder recorder(optionsFor(quiet_library::functions(), file));
    const Bytes serial = bytesOf("SN-1");
    THROUGH(recorder, AT_USB_Set_SerialNum, serial.data(), 4);
    THROUGH(recorder, AT_Audio_Set_HdmiDPRX_VolumeGain, -90);
    THROUGH(recorder, AT_Get_Current_Input_Source, nullptr);
    THROUGH(recorder, burnToFlash, nullptr, nullptr);
    const Recording recording = readBack(file);
    QVERIFY(recording.calls.at(0).image.inputs[0].bytes == serial);
    QCOMPARE(recording.calls.at(0).image.inputs[1].number, std::int64_t{4});
    QCOMPARE(recording.calls.at(1).image.inputs[0].number, std::int64_t{-90});
    QVERIFY(recording.calls.at(2).image.inputs[0].kind == Input::Kind::kNull);
    QVERIFY(recording.calls.at(3).image.inputs[0].kind == Input::Kind::kNull);
    QVERIFY(recording.calls.at(3).image.inputs[1].kind == Input::Kind::kNull);
  }

  void filesAreRecordedBySizeAndHashOnly() {
    const QTemporaryDir folder;
    const auto firmware = fileWith(folder, "firmware-of-the-year.bin", "abc");
    const auto key = fileWith(folder, "secret.key", "abc");
    const auto file = pathIn(folder, "files.jsonl");
    Recorder recorder(optionsFor(quiet_library::functions(), file));
    THROUGH(recorder, burnToFlash, recorder::utf8Of(firmware).c_str(), nullptr);
    THROUGH(recorder, burnHDCP, recorder::utf8Of(key).c_str());
    THROUGH(recorder, burnToFlash, "no-such-file", nullptr);
    const Recording recording = readBack(file);
    const recorder::FileMark mark = recording.calls.at(0).image.inputs[0].file;
    QVERIFY(mark.readable);
    QCOMPARE(mark.size, std::uint64_t{3});
    QCOMPARE(mark.hash, std::string("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"));
    QCOMPARE(recording.calls.at(1).image.inputs[0].file.size, std::uint64_t{3});
    QVERIFY(recording.calls.at(1).image.inputs[0].file.hash != mark.hash);
    QVERIFY(!recording.calls.at(2).image.inputs[0].file.readable);
    for (const char* secret : {"firmware-of-the-year", "secret", "no-such-file", "616263"}) {
      QVERIFY2(!contentOf(file).contains(secret), secret);
    }
    QVERIFY(!contentOf(file).contains(QFile::encodeName(folder.path())));
  }

  void callbacksPassThroughFromAnyThreadAndAfterTheCall() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "callbacks.jsonl");
    auto functions = quiet_library::functions();
    quiet_library::put(functions, Operation::burnToFlash, &burnWithThreads);
    received.clear();
    {
      Recorder recorder(optionsFor(functions, file));
      THROUGH(recorder, burnToFlash, "x", [](float percent) { received.push_back(percent); });
      std::thread([] { lateCallback.load()(100.0F); }).join();
      QCOMPARE(received.size(), std::size_t{3});
      QCOMPARE(received[0], 1.5F);
      QVERIFY(received[1] != received[1]);
      QCOMPARE(received[2], 100.0F);
    }
    // The library may keep the callback longer than the recorder exists.
    lateCallback.load()(7.0F);
    QCOMPARE(received.size(), std::size_t{4});

    const Recording recording = readBack(file);
    QCOMPARE(recording.progress.size(), std::size_t{3});
    QCOMPARE(recording.progress[0].place.thread, 1U);
    QCOMPARE(recording.progress[1].place.thread, 2U);
    QVERIFY(recording.progress[1].percent != recording.progress[1].percent);
    QCOMPARE(recording.progress[2].place.thread, 3U);
    QCOMPARE(recording.progress[2].place.after, std::uint64_t{1});
    QCOMPARE(recording.progress[2].place.number, std::uint64_t{1});
  }

  void aCallFromACallbackIsTheProgramsOwn() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "nested.jsonl");
    auto functions = quiet_library::functions();
    quiet_library::put(functions, Operation::burnToFlash, &burnWithThreads);
    static Recorder* current = nullptr;
    Recorder recorder(optionsFor(functions, file));
    current = &recorder;
    THROUGH(recorder, burnToFlash, "x", [](float) { THROUGH(*current, openPort); });
    const Recording recording = readBack(file);
    QCOMPARE(recording.calls.size(), std::size_t{3});
    QVERIFY(recording.calls[1].image.operation == Operation::openPort);
    QCOMPARE(recording.calls[1].place.thread, 1U);
    QCOMPARE(recording.calls[2].place.thread, 2U);
  }

  void twoThreadsAreDistinguishedAndOrdered() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "threads.jsonl");
    Recorder recorder(optionsFor(quiet_library::functions(), file));
    const auto work = [&] {
      for (int i = 0; i < 200; ++i) {
        THROUGH(recorder, AT_EDID_Set_EDID_mode, i);
        THROUGH(recorder, openPort);
      }
    };
    std::thread other(work);
    work();
    other.join();
    recorder.finish();
    const Recording recording = readBack(file);
    QCOMPARE(recording.calls.size(), std::size_t{800});
    std::array<std::int64_t, 2> next{};
    for (const recorder::RecordedCall& call : recording.calls) {
      if (call.image.operation == Operation::AT_EDID_Set_EDID_mode) {
        QCOMPARE(call.image.inputs[0].number, next[call.place.thread - 1]++);
      }
      QVERIFY(call.ending > call.place.after);
    }
    QCOMPARE(next[0] + next[1], std::int64_t{400});
  }
};

QTEST_GUILESS_MAIN(RecorderTest)
#include "recorder_test.moc"
