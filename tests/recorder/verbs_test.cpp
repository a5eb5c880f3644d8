/// @file
/// record, replay and recording of the command line, as users start them.
#include "simulator/samples/samples.h"
#include "tests/recorder/command_line.h"
#include "tests/support/program_run.h"
#include "tests/support/test_files.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

namespace {

/// Command lines of every verb that uses a device; DIR is the folder of the files.
const QStringList kDeviceLines{
    "info",
    "rx",
    "video",
    "video source dp",
    "video hpd off",
    "audio",
    "audio gain 5",
    "audio hp-gain 5",
    "audio mute on",
    "mcu info",
    "-y mcu upgrade DIR/main-family-2.bin",
    "-y capture burn DIR/capture-kvr-7.img",
    "edid show --sink",
    "edid check --slot 3",
    "edid read --slot 1 -o DIR/read.bin",
    "-y edid write DIR/edid-1080p.bin --slot 2",
    "edid mode",
    "edid mode mixed",
    "edid default",
    "edid default 4",
    "serial get",
    "-y serial set REC-1",
    "hdcp status",
    "hdcp tx off",
    "--confirm=key hdcp burn DIR/hdcp-key.bin",
    "i2c get 48 0 2",
    "-y i2c set 48 1 60 80",
    "i2c dump 50 0-FF",
    "i2c scan",
    "gpio list",
    "gpio get 3",
    "-y gpio set 3 7",
    "-y restore",
    "-y --wait reboot",
    "snapshot",
    "diff DIR/snapshot.json",
    "watch audio --count 1",
    "doctor",
};

// Verbs that need no device, start a program that does, or run for a whole shift.
const QStringList kOtherVerbs{"record", "replay", "recording", "completion", "station"};

/// The verbs that the help names.
QStringList verbsOf(const QByteArray& help) {
  QStringList verbs;
  bool isListed = false;
  for (const QByteArray& line : help.split('\n')) {
    if (isListed && line.size() > 2 && line[2] != ' ') {
      verbs.append(QString::fromUtf8(line.trimmed()).section(' ', 0, 0));
    }
    isListed = isListed || line.toUpper().startsWith("SUBCOMMANDS:");
  }
  return verbs;
}

// The simulated device, without its delays.
QProcessEnvironment quickDevice(const QTemporaryDir& folder) {
  writeFile(folder.filePath("quick.json"), R"({"clock": "virtual"})");
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("RTICE_SIMULATOR_SCENARIO", folder.filePath("quick.json"));
  return environment;
}

// Removes what may differ: the time of day and the library's path.
QByteArray withoutMoment(const QByteArray& output) {
  QString text = QString::fromUtf8(output);
  text.replace(QRegularExpression("\\d{4}-\\d\\d-\\d\\dT[0-9:.]+Z"), "(time)");
  text.replace(QRegularExpression("/(recorder|replay)(?=/|\n)"), "/(library)");
  text.replace(QRegularExpression("SHA-256: +[0-9a-f]{64}"), "(hash of the library)");
  return text.toUtf8();
}

}  // namespace

class RecordingVerbsTest : public QObject {
  Q_OBJECT

 private slots:
  void everyVerbThatUsesADeviceIsAmongThoseReplayed() {
    QStringList verbs = verbsOf(run({"--help"}, QProcessEnvironment::systemEnvironment()).out);
    QVERIFY(verbs.size() > 20);
    for (const QString& verb : verbs) {
      const bool isReplayed = std::any_of(kDeviceLines.begin(), kDeviceLines.end(),
                                          [&](const QString& line) { return line.split(' ').contains(verb); });
      QVERIFY2(isReplayed != kOtherVerbs.contains(verb), qPrintable(verb));
    }
  }

  void aVerbOfTheCommandLineReplaysWithoutTheDevice_data() {
    QTest::addColumn<QString>("words");
    for (const QString& words : kDeviceLines) {
      QTest::newRow(qPrintable(words)) << words;
    }
  }

  void aVerbOfTheCommandLineReplaysWithoutTheDevice() {
    QFETCH(QString, words);
    const QTemporaryDir folder;
    for (const samples::Sample& sample : samples::all()) {
      QVERIFY(samples::write(sample, folder.path().toStdU16String()));
    }
    const QProcessEnvironment device = quickDevice(folder);
    if (words.startsWith("diff")) {
      QCOMPARE(run({"snapshot", folder.filePath("snapshot.json")}, device).code, 0);
    }
    const QString file = folder.filePath("verb.jsonl");
    const QStringList command =
        QStringList{"--", COMMAND_LINE} + QString(words).replace("DIR", folder.path()).split(' ');
    const EndedProcess recorded = run(QStringList{"record", "-o", file} + command, device);
    QVERIFY2(recorded.code == 0, recorded.err);
    QFile::remove(folder.filePath("read.bin"));
    const EndedProcess replayed = run(QStringList{"replay", file} + command, withoutDevice());
    QVERIFY2(replayed.code == 0, replayed.err);
    QCOMPARE(withoutMoment(replayed.out), withoutMoment(recorded.out));
    QVERIFY2(contentOf(file).count("\"kind\":\"call\"") > 2, contentOf(file));
  }

  void aFileThatIsNotARecordingIsNamedWhateverTheProgramDoes_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("place");
    QTest::newRow("garbage") << QByteArray(
                                    "\x7F"
                                    "ELF\0\1\2\n",
                                    8)
                             << QByteArray("recording.jsonl:1: ");
    QTest::newRow("empty") << QByteArray() << QByteArray("recording.jsonl");
  }

  void aFileThatIsNotARecordingIsNamedWhateverTheProgramDoes() {
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, place);
    const QTemporaryDir folder;
    const QString file = folder.filePath("recording.jsonl");
    writeFile(file, content);
    for (const char* word : {"--version", "info"}) {
      const EndedProcess ended = run({"replay", file, "--", COMMAND_LINE, word}, withoutDevice());
      QCOMPARE(ended.code, 5);
      QVERIFY2(ended.err.contains(place), ended.err);
      QCOMPARE(ended.err.count('\n'), 1);
      QVERIFY2(ended.out.isEmpty(), ended.out);
    }
  }

  void aProgramThatDoesSomethingElseEndsWith11() {
    const QTemporaryDir folder;
    const QString file = folder.filePath("info.jsonl");
    run({"record", "-o", file, "--", COMMAND_LINE, "info"}, QProcessEnvironment::systemEnvironment());
    const EndedProcess other = run({"replay", file, "--", COMMAND_LINE, "audio"}, withoutDevice());
    QCOMPARE(other.code, 11);
    QVERIFY2(other.err.contains("difference at "), other.err);
    QVERIFY2(other.err.contains("expected: AT_Get_Customer_Ver()"), other.err);

    const EndedProcess again = run({"record", "-o", file, "--", COMMAND_LINE, "info"}, withoutDevice());
    QCOMPARE(again.code, 5);
    QVERIFY2(again.err.contains("exists already"), again.err);
  }

#if !defined(Q_OS_WIN)  // there, the program loads the library in its own folder first
  void theWindowReplaysWithoutTheDeviceAndShowsTheSame() {
    const QTemporaryDir folder;
    const QString file = folder.filePath("window.jsonl");
    const QString script =
        "click BN_Connect;print LB_Message;print lb_FW_VER_QX;print lb_Main_VER_QX;print label_IManufacturer;close";
    const EndedProcess recorded = run({"record", "-o", file, "--", PROGRAM}, scriptEnvironment(PLUGINS, script));
    QVERIFY2(recorded.code == 0, recorded.err);
    QVERIFY2(recorded.out.contains("LB_Message=Device Connected"), recorded.out);
    const EndedProcess replayed =
        run({"replay", file, "--", PROGRAM}, scriptEnvironment(PLUGINS, script, withoutDevice()));
    QVERIFY2(replayed.code == 0, replayed.err);
    QCOMPARE(replayed.out, recorded.out);
    const EndedProcess check = run({"recording", "check", file}, withoutDevice());
    QVERIFY2(check.code == 0, check.err);
  }
#endif
};

QTEST_GUILESS_MAIN(RecordingVerbsTest)
#include "verbs_test.moc"
