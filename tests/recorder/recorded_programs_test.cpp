/// @file
/// record, replay and recording of the command line with programs and files that are out of
/// the ordinary: several processes, many parts, damaged recordings, signals, other locales.
#include "simulator/samples/samples.h"
#include "tests/recorder/command_line.h"
#include "tests/support/comma_locale.h"
#include "tests/support/test_files.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <sys/types.h>

namespace {

QProcessEnvironment withPartsOf(const char* bytes) {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("PELLAVOX_RECORDING_PART_SIZE", bytes);
  return environment;
}

// The command line as $CLI.
QStringList shell(const QString& script) { return {"--", "sh", "-c", QString(script).replace("$CLI", COMMAND_LINE)}; }

EndedProcess record(const QString& file, const QStringList& program,
                    const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
  return run(QStringList{"record", "-o", file} + program, environment);
}

// Starts it, waits until it prints something, asks it to end and waits for that.
EndedProcess askedToEnd(const QStringList& arguments) {
  QProcess process;
  process.start(COMMAND_LINE, arguments);
  EndedProcess ended;
  if (!process.waitForReadyRead(30'000)) {
    qFatal("it prints nothing");
  }
  ::kill(static_cast<pid_t>(process.processId()), SIGTERM);
  if (process.waitForFinished(30'000) && process.exitStatus() == QProcess::NormalExit) {
    ended.code = process.exitCode();
  }
  ended.out = process.readAllStandardOutput();
  ended.err = process.readAllStandardError();
  return ended;
}

EndedProcess check(const QString& file) { return run({"recording", "check", file}, withoutDevice()); }

}  // namespace

#define REQUIRE_CODE(program, expected)                                               \
  do {                                                                                \
    const EndedProcess required = (program);                                          \
    QVERIFY2(required.code == (expected), (required.err + required.out).constData()); \
  } while (false)

class RecordedProgramsTest : public QObject {
  Q_OBJECT

  const TestFiles files_;

 private slots:
  // The simulated device, without its delays.
  void initTestCase() {
    qputenv("RTICE_SIMULATOR_SCENARIO", files_.write("quick.json", R"({"clock": "virtual"})").toLocal8Bit());
  }

  void aDecimalCommaChangesNoNumber() {
    const CommaLocale locale;
    {
      const CommaLocale::InUse inUse(locale);
      QVERIFY2(CommaLocale::InUse::works(), "no locale with a decimal comma can be made: is localedef installed?");
    }
    const TestFiles files;
    for (const samples::Sample& sample : samples::all()) {
      QVERIFY(samples::write(sample, files.folder().toStdU16String()));
    }
    const QString file = files.path("burn.jsonl");
    const QString here = files.path("here.jsonl");
    const QStringList burn{"--", COMMAND_LINE, "-y", "capture", "burn", files.path("capture-kvr-7.img")};
    REQUIRE_CODE(record(file, burn, locale.environment()), 0);
    REQUIRE_CODE(record(here, burn), 0);
    QVERIFY(contentOf(file).contains("\"percent\":\"1.5625\""));
    QVERIFY(!QString(contentOf(file)).contains(QRegularExpression("\"percent\":\"\\d*,")));
    for (const QString& one : {file, here}) {
      REQUIRE_CODE(check(one), 0);
      REQUIRE_CODE(run({"recording", "check", one}, locale.environment()), 0);
      REQUIRE_CODE(run(QStringList{"replay", one} + burn, locale.environment(withoutDevice())), 0);
      const EndedProcess shown = run({"recording", "show", one}, locale.environment());
      QVERIFY2(!QString(shown.out).contains(QRegularExpression("\\d,\\d")), shown.out);
    }
    const EndedProcess edid = run({"-j", "edid", "show", "--sink"}, locale.environment());
    QVERIFY2(edid.out.contains(".00 Hz"), edid.out);
  }

  void aNameWhoseFirstPartsWereRemovedIsTaken() {
    const TestFiles files;
    const QString file = files.path("s.jsonl");
    const QStringList snapshot{"--", COMMAND_LINE, "snapshot", files.path("x.json")};
    REQUIRE_CODE(record(file, snapshot, withPartsOf("900")), 0);
    QVERIFY(!QFile::exists(file));
    const EndedProcess again = record(file, snapshot, withPartsOf("900"));
    REQUIRE_CODE(again, 5);
    QVERIFY2(again.err.contains(" exists already"), again.err);
    REQUIRE_CODE(check(file), 0);
  }

  void theNextProcessOfAProgramTakesTheNextName_data() {
    QTest::addColumn<QString>("before");
    QTest::newRow("after a recording whose first parts were removed") << "$CLI snapshot DIR/x.json";
    QTest::newRow("where a link leads nowhere") << "ln -s nowhere DIR/s.jsonl";
  }

  void theNextProcessOfAProgramTakesTheNextName() {
    QFETCH(QString, before);
    const TestFiles files;
    const QString script = before.replace("DIR", files.folder()) + "; $CLI serial get";
    const EndedProcess ended = record(files.path("s.jsonl"), shell(script), withPartsOf("900"));
    REQUIRE_CODE(ended, 0);
    QVERIFY2(ended.err.isEmpty(), ended.err);
    REQUIRE_CODE(check(files.path("s-2.jsonl")), 0);
  }

  void aPartThatSomebodyDeletedIsMissed() {
    const TestFiles files;
    const QString file = files.path("s.jsonl");
    REQUIRE_CODE(record(file, {"--", COMMAND_LINE, "snapshot", files.path("x.json")}, withPartsOf("9000")), 0);
    REQUIRE_CODE(check(file), 0);
    QVERIFY(QFile::exists(file + ".2"));
    QVERIFY(QFile::remove(file));
    for (const QStringList& arguments :
         {QStringList{"recording", "check", file}, QStringList{"recording", "show", file},
          QStringList{"replay", file, "--", COMMAND_LINE, "info"}}) {
      const EndedProcess ended = run(arguments, withoutDevice());
      REQUIRE_CODE(ended, 5);
      QVERIFY2(ended.err.contains("s.jsonl.2: the part before this one is missing"), ended.err);
    }
  }

  void aFailedRedactionLeavesTheFilesOfOthersAlone() {
    const TestFiles files;
    const QString file = files.path("damaged.jsonl");
    REQUIRE_CODE(record(file, {"--", COMMAND_LINE, "serial", "get"}), 0);
    files.write("damaged.jsonl", contentOf(file).chopped(5));
    const QString precious = files.write("out.jsonl.2", "precious");
    const EndedProcess ended = run({"recording", "redact", file, "-o", files.path("out.jsonl")}, withoutDevice());
    REQUIRE_CODE(ended, 5);
    QVERIFY2(ended.err.contains("cut off"), ended.err);
    QCOMPARE(contentOf(precious), QByteArray("precious"));
    QVERIFY(!QFile::exists(files.path("out.jsonl")));
  }

  void aRecordingThatEndsInHalfALineIsShownUpToThere() {
    const TestFiles files;
    const QString file = files.path("cut.jsonl");
    REQUIRE_CODE(record(file, {"--", COMMAND_LINE, "serial", "get"}), 0);
    const QByteArray content = contentOf(file);
    const int lines = content.count('\n');
    files.write("cut.jsonl", content.chopped(5));
    const QByteArray line = QByteArray::number(lines);
    const EndedProcess shown = run({"recording", "show", file}, withoutDevice());
    REQUIRE_CODE(shown, 0);
    QVERIFY2(shown.out.contains("AT_USB_Get_SerialNum"), shown.out);
    QVERIFY2(shown.out.contains("The recording is cut off in line " + line + " of " + file.toUtf8()), shown.out);
    REQUIRE_CODE(run({"recording", "to-scenario", file}, withoutDevice()), 0);
    for (const QStringList& arguments :
         {QStringList{"recording", "check", file}, QStringList{"replay", file, "--", COMMAND_LINE, "serial", "get"}}) {
      const EndedProcess refused = run(arguments, withoutDevice());
      REQUIRE_CODE(refused, 5);
      QVERIFY2(refused.err.contains("cut.jsonl:" + line + ": the recording is cut off in this line"), refused.err);
    }
  }

  void oneProcessThatDiffersMakesTheReplayDifferent_data() {
    QTest::addColumn<QString>("script");
    QTest::addColumn<int>("code");
    QTest::newRow("all the same") << "$CLI serial get; $CLI serial get" << 0;
    QTest::newRow("the first differs") << "$CLI info; $CLI serial get" << 11;
    QTest::newRow("the last differs") << "$CLI serial get; $CLI info" << 11;
    QTest::newRow("one is killed") << "$CLI serial get; $CLI watch serial --interval 60 >DIR/out & "
                                      "while ! [ -s DIR/out ]; do sleep 0.01; done; kill -9 $!; wait; $CLI serial get"
                                   << 11;
  }

  void oneProcessThatDiffersMakesTheReplayDifferent() {
    QFETCH(QString, script);
    QFETCH(int, code);
    const TestFiles files;
    const QString file = files.path("one.jsonl");
    REQUIRE_CODE(record(file, {"--", COMMAND_LINE, "serial", "get"}), 0);
    const EndedProcess ended =
        run(QStringList{"replay", file} + shell(script.replace("DIR", files.folder())), withoutDevice());
    REQUIRE_CODE(ended, code);
  }

  void aRequestToEndReachesTheProgram_data() {
    QTest::addColumn<QString>("script");
    QTest::addColumn<int>("code");
    QTest::newRow("that ends in order") << "exec $CLI watch serial --interval 60" << 0;
    QTest::newRow("that has its own exit code") << "trap 'exit 42' TERM; echo; while :; do sleep 0.01; done" << 42;
    QTest::newRow("that is ended by it") << "echo; exec sleep 100" << 130;
  }

  void aRequestToEndReachesTheProgram() {
    QFETCH(QString, script);
    QFETCH(int, code);
    const TestFiles files;
    const QString file = files.path("t.jsonl");
    REQUIRE_CODE(askedToEnd(QStringList{"record", "-o", file} + shell(script)), code);
    if (script.contains("$CLI")) {
      REQUIRE_CODE(check(file), 0);
    }
  }

  void aReplayThatIsAskedToEndWasNoDifference_data() {
    QTest::addColumn<QString>("script");
    QTest::newRow("before the first call") << "trap 'exit 3' TERM; echo; while :; do sleep 0.01; done";
    QTest::newRow("after the first calls") << "exec $CLI watch serial --interval 60";
  }

  void aReplayThatIsAskedToEndWasNoDifference() {
    QFETCH(QString, script);
    const TestFiles files;
    const QString file = files.path("two.jsonl");
    REQUIRE_CODE(record(file, shell("$CLI watch serial --interval 0.01 --count 2")), 0);
    const EndedProcess ended = askedToEnd(QStringList{"replay", file} + shell(script));
    REQUIRE_CODE(ended, 130);
    QVERIFY2(ended.err.contains("interrupted before the end of the recording"), ended.err);
  }
};

QTEST_GUILESS_MAIN(RecordedProgramsTest)
#include "recorded_programs_test.moc"
