#include "recorder/summary.h"

#include "recorder/recorder.h"
#include "simulator/control/control.h"
#include "tests/recorder/recordings.h"
#include "tests/recorder/through.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <array>

namespace {

using device::Operation;
using recorder::Recorder;
using recorder::Recording;

// Reads what a window shows about the device.
template <typename Target>
void readEverything(Target& target) {
  std::array<std::uint8_t, 512> buffer{};
  std::uint32_t length = 0;
  std::int32_t number = 0;
  std::int16_t gain = 0;
  THROUGH(target, initialize);
  THROUGH(target, setDevice, 0, 0, 0x5C19, 0x6B02);
  THROUGH(target, openPort);
  THROUGH(target, AT_Get_Customer_Ver, buffer.data());
  buffer = {};
  THROUGH(target, AT_USB_Get_SerialNum, buffer.data(), 100, &length);
  buffer = {};
  THROUGH(target, AT_USB_Get_iProduct, buffer.data(), 64);
  buffer = {};
  THROUGH(target, AT_HdmiRX_GetRawTimingInfo, buffer.data());
  buffer = {};
  THROUGH(target, AT_Get_Current_Input_Source, buffer.data());
  THROUGH(target, AT_HdmiTX_Get_HPD_Status, &number);
  THROUGH(target, AT_EDID_Get_EDID_mode, buffer.data());
  THROUGH(target, AT_EDID_Flash_Get_Default_table, buffer.data());
  THROUGH(target, AT_Audio_Get_HPOUTgain, &gain);
  for (const std::uint8_t index : std::array<std::uint8_t, 2>{0x00, 0x02}) {
    buffer = {};
    THROUGH(target, AT_System_Get_ExternalMCU_cmd, 3, 0x0D, 1, &index, 1, buffer.data());
  }
  for (const std::uint8_t slot : std::array<std::uint8_t, 2>{1, 6}) {
    buffer = {};
    THROUGH(target, AT_EDID_Flash_Get_table, slot, buffer.data(), 512);
  }
  buffer = {};
  THROUGH(target, AT_EDID_Get_TX_table, 384, buffer.data());
  THROUGH(target, closePort);
  THROUGH(target, uninitialize);
}

template <typename Program>
std::filesystem::path recorded(const QTemporaryDir& folder, const char* name, const Program& program) {
  const auto file = pathIn(folder, name);
  Recorder::Options options;
  options.functions = simulatedDevice();
  options.file = file;
  options.header = {"libRTICE_SDK_x64.so", "00ff", true, "1.03", "2026-01-31T12:00:00Z", "", false};
  Recorder recorder(options);
  program(recorder);
  recorder.finish();
  return file;
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

constexpr const char* kDevice = R"({
  "model": "KVR-5B", "signal": "1440p144",
  "identity": {"captureVersion": "V9.9", "serialNumber": "OV-77", "product": "Bench"},
  "edid": {"mode": "mixed", "defaultSlot": 4, "slot6": "00 01 fe 00", "sink": "00 ff 80"}, "audio": {"headphoneGain": -12},
  "externalMcu": {"family": "v", "version": "0x34"}, "sink": {"present": false}})";

}  // namespace

class SummaryTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    QCOMPARE(QByteArray::fromStdString(simulator::loadScenario(kDevice)), QByteArray());
    simulator::useVirtualTime();
  }

  void theSummaryCountsOperationsAndFailures() {
    const QTemporaryDir folder;
    simulator::failCall("AT_Get_Customer_Ver", 1, -3);
    const auto file = recorded(folder, "a.jsonl", [](auto& target) { readEverything(target); });
    const std::string summary = recorder::summaryOf(readBack(file));
    QVERIFY2(contains(summary, "Library:   libRTICE_SDK_x64.so (simulated device)\n"), summary.c_str());
    QVERIFY2(contains(summary, "Calls:     19 in 1 threads, 0 progress callbacks\n"), summary.c_str());
    const QRegularExpression failed("\nAT_Get_Customer_Ver +1 +1 +\\d+\\.\\d{3} ");
    QVERIFY2(failed.match(QString::fromStdString(summary)).hasMatch(), summary.c_str());
    const QRegularExpression twice("\nAT_System_Get_ExternalMCU_cmd +2 +0 +");
    QVERIFY2(twice.match(QString::fromStdString(summary)).hasMatch(), summary.c_str());
  }

  void theKeptUpgradeIsShownPacketByPacket() {
    const std::string summary = recorder::summaryOf(readBack(RECORDINGS "/failing-mcu-upgrade.jsonl"));
    QVERIFY2(contains(summary, ", redacted\n"), summary.c_str());
    QVERIFY2(contains(summary, ": start, checksum 0xFB\n"), summary.c_str());
    QVERIFY2(contains(summary, ": address 0x"), summary.c_str());
    QVERIFY2(contains(summary, ": block 4, 64 bytes of data, checksum 0x"), summary.c_str());
  }

  void aRecordingThatBreaksOffSaysWhatWasUnderWay() {
    const QTemporaryDir folder;
    const auto file = recorded(folder, "a.jsonl", [](auto& target) { THROUGH(target, AT_EDID_Set_EDID_mode, 2); });
    QFile whole(QString::fromStdU16String(file.u16string()));
    QVERIFY(whole.open(QIODevice::ReadOnly));
    QFile cut(folder.filePath("cut.jsonl"));
    QVERIFY(cut.open(QIODevice::WriteOnly));
    cut.write(whole.readLine());
    cut.write(whole.readLine());
    cut.close();
    const std::string summary = recorder::summaryOf(readBack(pathIn(folder, "cut.jsonl")));
    QVERIFY2(contains(summary, "\nUnder way at the end: AT_EDID_Set_EDID_mode(mode=2) (line 2)\n"), summary.c_str());
    QVERIFY2(contains(summary, "The recording ends without its last line"), summary.c_str());
  }

  void recordingsOfTheSameDeviceDoNotDiffer() {
    const QTemporaryDir folder;
    const auto a = recorded(folder, "a.jsonl", [](auto& target) { readEverything(target); });
    const auto b = recorded(folder, "b.jsonl", [](auto& target) { readEverything(target); });
    QCOMPARE(recorder::differencesBetween(readBack(a), readBack(b)), std::string());
  }

  void theFirstDifferenceOfEachThreadIsReported() {
    const QTemporaryDir folder;
    const auto a = recorded(folder, "a.jsonl", [](auto& target) { readEverything(target); });
    simulator::failCall("AT_EDID_Get_EDID_mode", 2, -9);
    const auto b = recorded(folder, "b.jsonl", [](auto& target) { readEverything(target); });
    const std::string differences = recorder::differencesBetween(readBack(a), readBack(b));
    QVERIFY2(contains(differences, "thread 1, call 10:\n"), differences.c_str());
    QVERIFY2(contains(differences, "a.jsonl:11: AT_EDID_Get_EDID_mode() returned 0, mode 0:03\n"), differences.c_str());
    QVERIFY2(contains(differences, "b.jsonl:11: AT_EDID_Get_EDID_mode() returned -9\n"), differences.c_str());

    const auto shorter = recorded(folder, "c.jsonl", [](auto& target) { THROUGH(target, initialize); });
    const std::string rest = recorder::differencesBetween(readBack(a), readBack(shorter));
    QVERIFY2(contains(rest, "c.jsonl: nothing more\n"), rest.c_str());
  }

  void redactingLaterGivesARecordingWithoutTheSerialNumber() {
    const QTemporaryDir folder;
    const auto file = recorded(folder, "a.jsonl", [](auto& target) { readEverything(target); });
    const auto redacted = pathIn(folder, "redacted.jsonl");
    const auto done = recorder::redactRecording(file, redacted);
    QVERIFY2(done.has_value(), done ? "" : done.error().text().c_str());
    const Recording recording = readBack(redacted);
    QVERIFY(recording.walk.complete && recording.header.redacted);
    QFile content(QString::fromStdU16String(redacted.u16string()));
    QVERIFY(content.open(QIODevice::ReadOnly));
    QVERIFY(!content.readAll().contains(QByteArray("OV-77").toHex()));
    const std::string differences = recorder::differencesBetween(readBack(file), recording);
    QVERIFY2(contains(differences, "AT_USB_Get_SerialNum(capacity=100)"), differences.c_str());

    QVERIFY(contains(recorder::redactRecording(redacted, pathIn(folder, "twice.jsonl")).error().text(),
                     "the recording is redacted already"));
    QVERIFY(!std::filesystem::exists(pathIn(folder, "twice.jsonl")));
    QVERIFY(contains(recorder::redactRecording(file, redacted).error().text(), "cannot create "));
    QVERIFY(std::filesystem::exists(redacted));
    // An invalid recording does not overwrite an existing file either.
    QVERIFY(!recorder::redactRecording(pathIn(folder, "missing.jsonl"), redacted));
    QVERIFY(std::filesystem::exists(redacted));
  }

  void eachSignalOfTheSimulatedDeviceIsFoundAgain() {
    const QTemporaryDir folder;
    int number = 0;
    for (const std::string& name : simulator::knownSignals()) {
      const std::string device = "{\"model\": \"KVR-5B\", \"signal\": \"" + name + "\"}";
      QCOMPARE(QByteArray::fromStdString(simulator::loadScenario(device)), QByteArray());
      simulator::useVirtualTime();
      const auto file =
          recorded(folder, std::to_string(++number).c_str(), [](auto& target) { readEverything(target); });
      const std::string scenario = recorder::scenarioOf(readBack(file));
      QVERIFY2(contains(scenario, "\": \"" + name + '"'), (name + ": " + scenario).c_str());
    }
    QVERIFY(number > 15);
  }

  void aRecordedDeviceBecomesAScenario() {
    const QTemporaryDir folder;
    const auto real = recorded(folder, "real.jsonl", [](auto& target) { readEverything(target); });
    const std::string scenario = recorder::scenarioOf(readBack(real));
    QCOMPARE(QByteArray::fromStdString(simulator::loadScenario(scenario)), QByteArray());
    simulator::useVirtualTime();
    const auto played = recorded(folder, "played.jsonl", [](auto& target) { readEverything(target); });
    QCOMPARE(recorder::differencesBetween(readBack(real), readBack(played)), std::string());
  }
};

QTEST_GUILESS_MAIN(SummaryTest)
#include "summary_test.moc"
