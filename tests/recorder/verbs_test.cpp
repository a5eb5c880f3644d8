/// @file
/// record, replay and recording of the command line, as users start them.
#include "tests/support/program_run.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Ended {
  int code = -1;
  QByteArray out;
  QByteArray err;
};

Ended run(const QStringList& arguments, const QProcessEnvironment& environment) {
  QProcess process;
  process.setProcessEnvironment(environment);
  process.start(COMMAND_LINE, arguments);
  process.closeWriteChannel();
  Ended ended;
  if (process.waitForFinished(60'000) && process.exitStatus() == QProcess::NormalExit) {
    ended.code = process.exitCode();
  }
  ended.out = process.readAllStandardOutput();
  ended.err = process.readAllStandardError();
  return ended;
}

// A replay must not need a device: the simulated one is told of a scenario that
// is not there, with which no call succeeds.
QProcessEnvironment withoutDevice() {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("RTICE_SIMULATOR_SCENARIO", "no-such-scenario.json");
  return environment;
}

}  // namespace

class RecordingVerbsTest : public QObject {
  Q_OBJECT

 private slots:
  void aVerbOfTheCommandLineReplaysWithoutTheDevice_data() {
    QTest::addColumn<QString>("words");
    for (const char* words : {"info", "rx", "-y serial set REC-1"}) {
      QTest::newRow(words) << words;
    }
  }

  void aVerbOfTheCommandLineReplaysWithoutTheDevice() {
    QFETCH(QString, words);
    const QTemporaryDir folder;
    const QString file = folder.filePath("verb.jsonl");
    const QStringList command = QStringList{"--", COMMAND_LINE} + words.split(' ');
    const Ended recorded = run(QStringList{"record", "-o", file} + command, QProcessEnvironment::systemEnvironment());
    QVERIFY2(recorded.code == 0, recorded.err);
    const Ended replayed = run(QStringList{"replay", file} + command, withoutDevice());
    QVERIFY2(replayed.code == 0, replayed.err);
    QCOMPARE(replayed.out, recorded.out);
    QVERIFY(recorded.out.size() > 20);
  }

  void aProgramThatDoesSomethingElseEndsWith11() {
    const QTemporaryDir folder;
    const QString file = folder.filePath("info.jsonl");
    run({"record", "-o", file, "--", COMMAND_LINE, "info"}, QProcessEnvironment::systemEnvironment());
    const Ended other = run({"replay", file, "--", COMMAND_LINE, "audio"}, withoutDevice());
    QCOMPARE(other.code, 11);
    QVERIFY2(other.err.contains("difference at "), other.err);
    QVERIFY2(other.err.contains("expected: AT_Get_Customer_Ver()"), other.err);

    const Ended again = run({"record", "-o", file, "--", COMMAND_LINE, "info"}, withoutDevice());
    QCOMPARE(again.code, 5);
    QVERIFY2(again.err.contains("exists already"), again.err);
  }

#if !defined(Q_OS_WIN)  // there, the program takes the library beside it first
  void theWindowReplaysWithoutTheDeviceAndShowsTheSame() {
    const QTemporaryDir folder;
    const QString file = folder.filePath("window.jsonl");
    const QString script =
        "click BN_Connect;print LB_Message;print lb_FW_VER_QX;print lb_Main_VER_QX;print label_IManufacturer;close";
    const Ended recorded = run({"record", "-o", file, "--", PROGRAM}, scriptEnvironment(PLUGINS, script));
    QVERIFY2(recorded.code == 0, recorded.err);
    QVERIFY2(recorded.out.contains("LB_Message=Device Connected"), recorded.out);
    const Ended replayed = run({"replay", file, "--", PROGRAM}, scriptEnvironment(PLUGINS, script, withoutDevice()));
    QVERIFY2(replayed.code == 0, replayed.err);
    QCOMPARE(replayed.out, recorded.out);
    const Ended check = run({"recording", "check", file}, withoutDevice());
    QVERIFY2(check.code == 0, check.err);
  }
#endif
};

QTEST_GUILESS_MAIN(RecordingVerbsTest)
#include "verbs_test.moc"
