/// @file
/// Redacted recordings of failing devices, kept in the repository, and the messages that
/// they cause. If PELLAVOX_KEEP_RECORDINGS names a folder, makes new recordings there.
#include "device/RTICE_SDK_x64.h"
#include "firmware/capture_burn.h"
#include "firmware/capture_progress.h"
#include "firmware/ext_mcu_upgrade.h"
#include "firmware/upgrade_texts.h"
#include "gate/loaded_file.h"
#include "recorder/exported.h"
#include "recorder/player.h"
#include "recorder/recorder.h"
#include "tests/recorder/through.h"
#include "tests/support/seeded_random.h"

#include <QFile>
#include <QTest>

#include <algorithm>
#include <memory>
#include <thread>

namespace {

using device::Operation;

// What the functions of the device library do here.
std::unique_ptr<recorder::Recorder> recorderInUse;
std::unique_ptr<recorder::Player> playerInUse;

std::int32_t switched(Operation operation, std::span<const recorder::RawArgument> arguments, recorder::Invoke invoke,
                      const void* /*caller*/) {
  return recorderInUse ? recorderInUse->call(operation, arguments, invoke) : playerInUse->call(operation, arguments);
}

bool connectDevice() { return initialize() == 0 && setDevice(0, 0, 0x5C19, 0x6B03) == 0 && openPort() == 0; }

std::vector<std::uint8_t> imageOf(std::size_t size) {
  SeededRandom random{20};
  std::vector<std::uint8_t> image(size);
  std::generate(image.begin(), image.end(), [&] { return random.byte(); });
  return image;
}

QStringList upgrade(const QString& /*folder*/) {
  QStringList messages;
  firmware::upgradeExtMcu(
      imageOf(700), connectDevice(),
      [](std::chrono::milliseconds time) {
        if (recorderInUse) {
          std::this_thread::sleep_for(time);
        }
      },
      [&](const firmware::UpgradeEvent& event) { messages << firmware::windowTexts(event); });
  closePort();
  uninitialize();
  return messages;
}

QStringList burnMessages;

QStringList burn(const QString& folder) {
  const auto image = imageOf(300'000);
  QFile file(folder + "/capture.bin");
  if (!file.open(QIODevice::WriteOnly) || file.write(reinterpret_cast<const char*>(image.data()), 300'000) != 300'000) {
    qFatal("the image cannot be written");
  }
  file.close();
  burnMessages = QStringList{connectDevice() ? "connected" : "not connected"};
  const auto burnt = firmware::burnCapture(
      file.fileName(), [](float percent) { burnMessages << QString::number(firmware::wholePercent(percent)); });
  burnMessages << (burnt ? "burnt" : QString("failed with %1").arg(burnt.error().status));
  closePort();
  uninitialize();
  return burnMessages;
}

struct Story {
  const char* file;
  const char* scenario;
  QStringList (*tell)(const QString& folder);
};

const Story kStories[] = {
    {"failing-mcu-upgrade.jsonl",
     R"({"faults": [{"at": "mcu.data", "first": 4, "count": 0, "what": "damage"}], "speedFactor": 1000})", &upgrade},
    {"failing-burn.jsonl", R"({"faults": [{"at": "captureFlash", "fromPercent": 60}], "speedFactor": 1000})", &burn},
};

recorder::FunctionTable simulatedDevice() {
  static const auto library = gate::LoadedFile::open(SIMULATED_DEVICE);
  if (!library) {
    qFatal("%s", library.error().c_str());
  }
  recorder::FunctionTable functions{};
  for (const device::OperationDescription& operation : device::kOperations) {
    functions[static_cast<std::size_t>(operation.id)] = library->find(operation.name.data());
  }
  return functions;
}

// The simulated device reads its scenario once per process, at its first call.
void keep(const Story& story, const QString& to, const QString& folder) {
  QFile scenario(folder + "/scenario.json");
  if (!scenario.open(QIODevice::WriteOnly) || scenario.write(story.scenario) < 0) {
    qFatal("the scenario cannot be written");
  }
  scenario.close();
  qputenv("RTICE_SIMULATOR_SCENARIO", QFile::encodeName(scenario.fileName()));
  recorder::Recorder::Options options;
  options.functions = simulatedDevice();
  options.file = to.toStdString();
  options.header = {"libRTICE_SDK_x64.so", "", true, "1.03", recorder::utcNow(), "", true};
  options.tell = [](const std::string& text) { qFatal("%s", text.c_str()); };
  recorderInUse = std::make_unique<recorder::Recorder>(options);
  qInfo("%s", qPrintable(story.tell(folder).join("\n")));
  recorderInUse->finish();
  recorderInUse.reset();
}

}  // namespace

#define OPERATION(name, kind, result, declaration, arguments, ...) \
  RECORDER_EXPORT_OPERATION(switched, name, declaration, arguments)
#include "device/operations.inc"
#undef OPERATION

class FailuresTest : public QObject {
  Q_OBJECT

 private slots:
  void theKeptRecordingShowsTheSameMessages_data() {
    QTest::addColumn<int>("story");
    QTest::addColumn<QStringList>("messages");
    QTest::newRow("failing MCU upgrade") << 0
                                         << QStringList{"Start...", "MCU into boot", "Update Count1...",
                                                        "Error MCU data checksum...[fail]"};
    QStringList burnt{"connected", "0", "5", "10", "16", "21"};
    for (int percent = 26; percent <= 60; ++percent) {
      burnt << QString::number(percent);
    }
    QTest::newRow("failing burn") << 1 << burnt + QStringList{"failed with -14"};
  }

  void theKeptRecordingShowsTheSameMessages() {
    QFETCH(int, story);
    QFETCH(QStringList, messages);
    const QTemporaryDir folder;
    const QString keptIn = qEnvironmentVariable("PELLAVOX_KEEP_RECORDINGS");
    if (!keptIn.isEmpty()) {
      keep(kStories[story], keptIn + "/" + kStories[story].file, folder.path());
    }
    auto recording = recorder::readRecording(std::filesystem::path(RECORDINGS) / kStories[story].file);
    QVERIFY2(recording.has_value(), recording ? "" : recording.error().text().c_str());
    QVERIFY(recording->header.redacted);
    std::string report;
    recorder::Player::Options options;
    options.report = [&](const std::string& text) { report += text; };
    const auto calls = recording->calls.size();
    playerInUse = std::make_unique<recorder::Player>(*std::move(recording), options);
    const QStringList shown = kStories[story].tell(folder.path());
    playerInUse->finish();
    QCOMPARE(report, "complete: " + std::to_string(calls) + " calls replayed\n");
    QCOMPARE(shown, messages);
  }
};

QTEST_GUILESS_MAIN(FailuresTest)
#include "failures_test.moc"
