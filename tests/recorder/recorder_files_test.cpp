#include "recorder/summary.h"
#include "tests/recorder/recordings.h"

#include <QDir>
#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

#ifndef Q_OS_WIN
#include <csignal>
#include <sys/resource.h>
#endif

using recorder::Recorder;
using recorder::Recording;

namespace {

void writeAll(const std::filesystem::path& path, const QByteArray& content) {
  QFile file(QString::fromStdU16String(path.u16string()));
  if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
    qFatal("%s cannot be written", qPrintable(file.fileName()));
  }
}

/// Makes a recording of so many calls.
void recordCalls(const std::filesystem::path& file, int calls, recorder::RecordingFile::Limits limits = {}) {
  Recorder::Options options = optionsFor(quiet_library::functions(), file);
  options.limits = limits;
  Recorder recorder(options);
  for (int i = 0; i < calls; ++i) {
    THROUGH(recorder, AT_Audio_Set_HdmiDPRX_VolumeGain, i);
  }
  recorder.finish();
}

}  // namespace

/// Files of a recording: parts, old parts that are deleted, and files that cannot be written.
class RecorderFilesTest : public QObject {
  Q_OBJECT

 private slots:
  void aLargeRecordingGoesOnInFurtherFiles() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "parts.jsonl");
    recordCalls(file, 100, {4000, 100});
    const Recording recording = readBack(file);
    QVERIFY(recording.walk.parts > 3);
    QVERIFY(recording.walk.complete);
    QCOMPARE(recording.calls.size(), std::size_t{100});
    QVERIFY(contentOf(recorder::partOf(file, 2)).size() < 5000);

    // As left by a full disk: the calls before it can be read.
    std::filesystem::resize_file(recorder::partOf(file, 2), 0);
    const auto cut = recorder::readRecording(file);
    QVERIFY(cut);
    QVERIFY(!cut->walk.complete && !cut->calls.empty());
    QCOMPARE(cut->walk.lastFile, recorder::utf8Of(file));
    std::filesystem::remove(recorder::partOf(file, 2));
    QCOMPARE(recorder::readRecording(file).error().text(),
             recorder::utf8Of(recorder::partOf(file, 2)) + ": this part of the recording is missing");
  }

  void onlyTheNewestFilesAreKept() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "parts.jsonl");
    recordCalls(file, 200, {1000, 3});
    const QStringList files = QDir(folder.path()).entryList(QDir::Files);
    QCOMPARE(files.size(), 3);
    QVERIFY(!files.contains("parts.jsonl"));

    // The rest can be read, but does not count as the whole recording.
    const auto remaining = recorder::readRecording(file, recorder::Parts::kRemaining);
    QVERIFY2(remaining, remaining ? "" : remaining.error().text().c_str());
    QVERIFY(remaining->walk.complete && remaining->walk.firstPart > 1);
    QCOMPARE(remaining->walk.parts, remaining->walk.firstPart + 2);
    QVERIFY(remaining->calls.size() > 3 && !remaining->header.salt.empty());
    QCOMPARE(remaining->calls.back().place.number, std::uint64_t{200});
    QVERIFY(remaining->calls.back().ending.has_value());
    const auto first = recorder::partOf(file, remaining->walk.firstPart);
    QCOMPARE(recorder::readRecording(file).error().text(),
             recorder::utf8Of(file) + ": the parts before " + recorder::utf8Of(first) + " were removed to save space");
    const auto all = recorder::walkRecording(file, [](auto, auto&&) {});
    QVERIFY(!all);
    std::filesystem::remove(recorder::partOf(file, remaining->walk.firstPart + 1));
    QVERIFY(!recorder::readRecording(file, recorder::Parts::kRemaining));
  }

  void aPartThatTheRecorderHadKeptIsMissed() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "parts.jsonl");
    recordCalls(file, 200, {1000, 3});
    const unsigned first = recorder::firstPartOf(file);
    QVERIFY(first > 2);
    // A full disk in the last part, which the recorder had made room for, is no loss of an earlier one.
    const auto last = recorder::partOf(file, first + 2);
    const QByteArray content = contentOf(last);
    std::filesystem::resize_file(last, 0);
    QVERIFY(recorder::readRecording(file, recorder::Parts::kRemaining));
    std::filesystem::remove(last);
    QVERIFY(!recorder::readRecording(file, recorder::Parts::kRemaining));
    writeAll(last, content);
    QVERIFY(recorder::readRecording(file, recorder::Parts::kRemaining));

    std::filesystem::remove(recorder::partOf(file, first));
    const std::string expected = recorder::utf8Of(recorder::partOf(file, first + 1)) +
                                 ": the part before this one is missing; it was not removed to save space";
    QCOMPARE(recorder::readRecording(file, recorder::Parts::kRemaining).error().text(), expected);
    QCOMPARE(recorder::readRecording(file).error().text(), expected);
  }

  void aNameIsTakenWhileAnyPartExists() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "calls.jsonl");
    QCOMPARE(recorder::firstPartOf(file), 0U);
    for (const char* other :
         {"calls.jsonl.02", "calls.jsonl.1", "calls.jsonl.x", "calls-2.jsonl.7", "calls.jsonl.8.9"}) {
      writeAll(pathIn(folder, other), "");
    }
    QCOMPARE(recorder::firstPartOf(file), 0U);
    writeAll(pathIn(folder, "calls.jsonl.12"), "");
    QCOMPARE(recorder::firstPartOf(file), 12U);
    writeAll(pathIn(folder, "calls.jsonl.8"), "");
    QCOMPARE(recorder::firstPartOf(file), 8U);
    recorder::FreeNames names(file);
    QCOMPARE(names.next(), pathIn(folder, "calls-3.jsonl"));
    QCOMPARE(names.next(), pathIn(folder, "calls-4.jsonl"));
    writeAll(file, "");
    QCOMPARE(recorder::firstPartOf(file), 1U);
  }

  void recordingsThatBeginAtOnceGetANameEach() {
    constexpr int kRounds = 30;
    constexpr std::size_t kThreads = 4;
    for (int round = 0; round < kRounds; ++round) {
      const QTemporaryDir folder;
      std::atomic<int> told = 0;
      std::atomic<std::size_t> ready = 0;
      std::vector<std::thread> threads;
      for (std::size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
          ++ready;
          while (ready < kThreads) {
          }
          recorder::RecordingFile file(
              pathIn(folder, "calls.jsonl"), {}, {}, [&](const std::string&) { ++told; },
              recorder::RecordingFile::WhenTaken::kTakeNextName);
          file.finish();
        });
      }
      for (std::thread& thread : threads) {
        thread.join();
      }
      QCOMPARE(told.load(), 0);
      QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), static_cast<int>(kThreads));
    }
  }

  void aRedactedCopyHasAllCallsHoweverManyFilesItFills() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "calls.jsonl");
    recordCalls(file, 200);
    const auto copy = pathIn(folder, "copy.jsonl");
    QVERIFY(recorder::redactRecording(file, copy, 1000));
    const Recording redacted = readBack(copy);
    QCOMPARE(redacted.calls.size(), std::size_t{200});
    QVERIFY(redacted.header.redacted && redacted.walk.complete && redacted.walk.parts > 16);

    // One of its files missing is never taken for one that was removed to save space.
    std::filesystem::remove(copy);
    QVERIFY(!recorder::readRecording(copy, recorder::Parts::kRemaining));
  }

  void aFailedRedactionRemovesItsOwnFilesOnly() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "calls.jsonl");
    recordCalls(file, 50);
    const auto copy = pathIn(folder, "copy.jsonl");
    const auto precious = recorder::partOf(copy, 5);
    writeAll(precious, "precious");
    const auto failed = recorder::redactRecording(file, copy, 1000);
    QVERIFY(!failed);
    QVERIFY2(failed.error().reason.rfind("cannot create " + recorder::utf8Of(precious), 0) == 0,
             failed.error().reason.c_str());
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), (QStringList{"calls.jsonl", "copy.jsonl.5"}));
    QCOMPARE(contentOf(precious), QByteArray("precious"));

    std::filesystem::remove(precious);
    std::filesystem::resize_file(file, std::filesystem::file_size(file) - 5);
    QVERIFY(!recorder::redactRecording(file, copy, 1000));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{"calls.jsonl"});
  }

  void aMissingFolderIsReportedOnceAndTheProgramContinues() {
    const QTemporaryDir folder;
    QStringList told;
    Recorder::Options options = optionsFor(quiet_library::functions(), pathIn(folder, "no/such/folder.jsonl"));
    options.tell = [&](const std::string& text) { told << QString::fromStdString(text); };
    Recorder recorder(options);
    for (int i = 0; i < 3; ++i) {
      QCOMPARE(THROUGH(recorder, openPort), 0);
      QCOMPARE(THROUGH(recorder, AT_EDID_Set_EDID_mode, i), 0);
    }
    recorder.finish();
    QCOMPARE(told.size(), 1);
    QVERIFY2(told.at(0).startsWith("cannot create "), qPrintable(told.at(0)));
  }

#ifndef Q_OS_WIN
  void afterAFullDiskTheProgramWorksOnAndWholeLinesRemain() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "full.jsonl");
    QStringList told;
    Recorder::Options options = optionsFor(quiet_library::functions(), file);
    options.tell = [&](const std::string& text) { told << QString::fromStdString(text); };
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full{2000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    Recorder recorder(options);
    for (int i = 0; i < 50; ++i) {
      THROUGH(recorder, openPort);
    }
    recorder.finish();
    setrlimit(RLIMIT_FSIZE, &before);
    QCOMPARE(told.size(), 1);
    QVERIFY2(told.at(0).startsWith("cannot write "), qPrintable(told.at(0)));
    const Recording recording = readBack(file);
    QVERIFY(!recording.walk.complete);
    QVERIFY(recording.calls.size() > 3 && recording.calls.size() < 20);
  }
#endif
};

QTEST_GUILESS_MAIN(RecorderFilesTest)
#include "recorder_files_test.moc"
