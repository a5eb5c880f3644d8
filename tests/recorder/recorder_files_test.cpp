#include "tests/recorder/recordings.h"

#include <QDir>
#include <QTest>

#ifndef Q_OS_WIN
#include <csignal>
#include <sys/resource.h>
#endif

using recorder::Recorder;
using recorder::Recording;

/// Files of a recording: parts, old parts that are deleted, and files that cannot be written.
class RecorderFilesTest : public QObject {
  Q_OBJECT

 private slots:
  void aLargeRecordingGoesOnInFurtherFiles() {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "parts.jsonl");
    Recorder::Options options = optionsFor(quiet_library::functions(), file);
    options.limits = {4000, 100};
    Recorder recorder(options);
    for (int i = 0; i < 100; ++i) {
      THROUGH(recorder, AT_Audio_Set_HdmiDPRX_VolumeGain, i);
    }
    recorder.finish();
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
    Recorder::Options options = optionsFor(quiet_library::functions(), file);
    options.limits = {1000, 3};
    Recorder recorder(options);
    for (int i = 0; i < 200; ++i) {
      THROUGH(recorder, AT_Audio_Set_HdmiDPRX_VolumeGain, i);
    }
    recorder.finish();
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
