#include "cli/value.h"
#include "tests/cli/cli_process.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#ifndef _WIN32
#include <csignal>
#endif

#ifdef __linux__
/// How often the threads of a process have gone to sleep.
static long timesAsleep(qint64 process) {
  long sum = 0;
  const QDir threads(QStringLiteral("/proc/%1/task").arg(process));
  for (const QString& thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
    QFile status(threads.filePath(thread + "/status"));
    if (!status.open(QIODevice::ReadOnly)) {
      qFatal("cannot read %s", qPrintable(status.fileName()));
    }
    const QByteArray text = status.readAll();
    const QByteArray name("\nvoluntary_ctxt_switches:");
    sum += text.mid(text.indexOf(name) + name.size()).simplified().split(' ').first().toLong();
  }
  return sum;
}
#endif

/// The program as users start it: a process with the simulated device next to it.
class ProcessTest : public QObject {
  Q_OBJECT

 private slots:
#ifndef _WIN32
  // The tests themselves may run in the background of a script.
  void initTestCase() { std::signal(SIGINT, SIG_DFL); }
#endif

  void eachVerbsTextGoesToStandardOutput_data() {
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("err");
    const auto row = [](const char* line, int code, const char* out, const char* err) {
      QTest::newRow(line) << line << code << out << err;
    };
    row("info", 0, "Capture firmware:  V1\\.03\\.07\nMain firmware:     v1\\.2\nUVC name:          KVR-7 Video\n",
        "^$");
    row("rx", 0, "Active: +1920 x 1080\n(.*\n)*Colour space: +RGB\n", "^$");
    row("video", 0, "Input source: +HDMI\nSink at transmitter: +yes\nUVC output: +1920 x 1080 pixels, 60\\.00 frames/s",
        "^$");
    row("video source dp", 0, "Input source: +\"?dp\"?\nChanged: +yes\n", "^$");
    row("video hpd off", 0, "Receiver hot-plug: +off\n(.*\n)*Evidence: +reported by the device only", "^$");
    row("audio", 0, "Format: +PCM\nSampling rate: +48K\n", "^$");
    row("audio gain 7", 0, "Receiver gain: +7\nChanged: +yes\nBefore: +0\nEvidence: +read back", "^$");
    row("audio hp-gain -8", 0, "Headphone gain: +-8\n", "^$");
    row("audio mute on", 0, "Headphone muted: +yes\n", "^$");
    row("serial", 0, "^Serial number:  OV7A00001234\n$", "^$");
    row("serial get", 0, "^Serial number:  OV7A00001234\n$", "^$");
    row("-y serial set LINE-42", 0, "Serial number: +LINE-42\n", "^$");
    row("serial set LINE-42", 10, "^$", "^pellavox-cli: .*LINE-42.*-y\n$");
    row("hdcp", 0, "Receiver: +HDCP1", "^$");
    row("hdcp tx off", 0, "Transmitter HDCP: +off\n", "^$");
    row("gpio get 3", 0, "^ISO 3:  0\n$", "^$");
    row("gpio list --group misc", 0, "MISC 13: +0\n$", "^$");
    row("-y gpio set 3 0x10", 0, "ISO 3: +16\n", "^$");
    row("i2c get 50 0 4", 0, "^([0-9A-F]{2} ?){4}\n$", "^$");
    row("i2c get 20 0", 1, "^$", "^pellavox-cli: no answer from 0x20 \\(status -8\\)\n$");
    row("i2c get A0 0", 5, "^$", "8-bit");
    row("i2c dump A8 100-11F --addr8", 0, "^0100  .*\n0110  .*\n$", "^$");
    row("i2c scan", 0, "^0x0D .*\n0x48 .*\n0x50 .*\n0x54 .*\n$", "^$");
    row("-y i2c set 48 1 60 80", 0, "60 80\n", "^$");
    row("-y restore", 0, "Factory defaults: +restored\n", "^$");
    row("-y reboot", 0, "Restarted: +yes\n", "^$");
    row("snapshot", 0, "Identity\n(.*\n)*Pins\n", "^$");
    row("doctor", 0, "Connected: +yes\n", "^$");
    row("--library /no/such/file.so info", 4, "^$", "^pellavox-cli: .*file\\.so.*\n$");
    row("-d KVR-5B info", 3, "^$", "^pellavox-cli: cannot open KVR-5B \\(5C19:6B02\\).*\n$");
    row("i2c get --wait 50 0 4", 0, "^([0-9A-F]{2} ?){4}\n$", "^$");
    row("--wait=0.1 -d KVR-5B info", 3, "^$", "^pellavox-cli: cannot open KVR-5B \\(5C19:6B02\\).*\n$");
    row("--wait 5 info", 2, "^$", "^pellavox-cli: .*\n$");
    row("--wait=nan info", 2, "^$", "^pellavox-cli: .*nan.*\n$");
    row("-n record -o /nowhere/r.jsonl -- /bin/true", 2, "^$", "^pellavox-cli: record has no dry run.*\n$");
    row("--log  info", 2, "^$", "^pellavox-cli: --log: the name of the file is empty\n$");
    row("record -o  -- /bin/true", 2, "^$", "^pellavox-cli: .*the name of the file is empty\n$");
    row("nonsense", 2, "^$", "^pellavox-cli: .*\n$");
    row("-qj nonsense", 2, "\"exitCode\": 2", "^$");
    row("-d j nonsense", 2, "^$", "^pellavox-cli: .*\n$");
    row("-dj nonsense", 2, "^$", "^pellavox-cli: .*\n$");
    row("nonsense -- -j", 2, "^$", "^pellavox-cli: .*\n$");
    row("i2c dump 54 F8-107", 0, "^00F8  (FF ){8}4B 56 52 20 43 41 4C 49 ", "^$");
    row("--help", 0, "serial", "^$");
    row("manual", 0, "^\\.TH PELLAVOX", "^$");
    row("completion bash", 0, "complete -F", "^$");
    row("completion zsh", 0, "#compdef", "^$");
    row("completion fish", 0, "complete -c pellavox-cli", "^$");
    row("completion powershell", 0, "Register-ArgumentCompleter", "^$");
  }
  void eachVerbsTextGoesToStandardOutput() {
    QFETCH(QString, line);
    QFETCH(int, code);
    QFETCH(QString, out);
    QFETCH(QString, err);
    const EndedProcess ended = runProgram(line.split(' '));
    QVERIFY2(ended.code == code, (QByteArray::number(ended.code) + ' ' + ended.out + ended.err).constData());
    QVERIFY2(QRegularExpression(out).match(ended.out).hasMatch(), ended.out.constData());
    QVERIFY2(QRegularExpression(err).match(ended.err).hasMatch(), ended.err.constData());
  }

  void argumentsBeyondAsciiArriveWhole() {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QString::fromUtf8("Gerät \xe6\xb5\x8b.json"));
    QCOMPARE(runProgram({"snapshot", path}).code, 0);
    QVERIFY(QFile::exists(path));
    const EndedProcess same = runProgram({"diff", path});
    QCOMPARE(same.code, 0);
    QCOMPARE(same.out, QByteArray("no difference\n"));
  }

  void aQuestionReadsTheTerminalOnly() {
    const EndedProcess ended = runProgram({"serial", "set", "A"}, "y\n");
    QCOMPARE(ended.code, 10);
  }

#ifdef __linux__
  void whatCannotBePrintedIsNoSuccess_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("version") << QStringList{"--version"};
    QTest::newRow("help") << QStringList{"--help"};
    QTest::newRow("help of a verb") << QStringList{"serial", "--help"};
    QTest::newRow("result") << QStringList{"info"};
    QTest::newRow("completion") << QStringList{"completion", "bash"};
    QTest::newRow("manual") << QStringList{"manual"};
  }
  void whatCannotBePrintedIsNoSuccess() {
    QFETCH(QStringList, arguments);
    QProcess process;
    process.setStandardOutputFile("/dev/full");
    process.start(PROGRAM, arguments);
    QVERIFY(process.waitForFinished(30'000));
    QCOMPARE(process.readAllStandardError(), QByteArray("pellavox-cli: cannot write to standard output\n"));
    QCOMPARE(process.exitCode(), 1);
  }

  void betweenTwoReadingsAWatchSleepsThroughUntilItIsInterrupted() {
    QProcess process;
    process.start(PROGRAM, {"watch", "serial", "--interval", "3600"});
    QVERIFY(process.waitForReadyRead(30'000));
    QTest::qWait(100);
    const long before = timesAsleep(process.processId());
    QTest::qWait(400);
    // On a busy machine the program may have gone to sleep only now.
    QVERIFY(timesAsleep(process.processId()) - before <= 1);
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    QVERIFY(process.waitForFinished(30'000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
  }
#endif

  void aSecondProcessIsRefusedUntilTheFirstHasEnded() {
    QProcess first;
    first.start(PROGRAM, {"watch", "serial"});
    QVERIFY(first.waitForReadyRead(30'000));
    const EndedProcess second = runProgram({"-j", "info"});
    QCOMPARE(second.code, 8);
    QString error;
    const cli::Value document = cli::Value::fromJson(second.out, &error);
    QCOMPARE(document["details"]["process"], cli::Value(first.processId()));
    QCOMPARE(document["details"]["program"].text(), QString("pellavox-cli"));
    // The lock ends with its process, even a killed one.
    first.kill();
    QVERIFY(first.waitForFinished(30'000));
    QCOMPARE(runProgram({"info"}).code, 0);
  }

  void anUnusableDeviceIsReportedInOneLine_data() {
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QString>("line");
    QTest::newRow("damaged state") << QByteArray("RTICE_SIMULATOR_STATE")
                                   << ": is no state file, or a damaged one; delete it or name another one";
    QTest::newRow("bad scenario") << QByteArray("RTICE_SIMULATOR_SCENARIO") << ":1: not valid JSON: .*";
  }
  void anUnusableDeviceIsReportedInOneLine() {
    QFETCH(QByteArray, variable);
    QFETCH(QString, line);
    const QTemporaryDir folder;
    QFile file(folder.filePath("file"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("no state file");
    file.close();
    qputenv(variable.constData(), file.fileName().toLocal8Bit());
    const EndedProcess ended = runProgram({"--wait=0.5", "info"});
    const EndedProcess json = runProgram({"-j", "info"});
    qunsetenv(variable.constData());
    QCOMPARE(ended.code, 3);
    const QString whole = "cannot open KVR-7 \\(5C19:6B03\\): [^\n]*file" + line;
    QVERIFY2(QRegularExpression("^pellavox-cli: " + whole + "\n$").match(ended.err).hasMatch(), ended.err.constData());
    QCOMPARE(json.err, QByteArray());
    QString error;
    QVERIFY2(QRegularExpression('^' + whole + '$')
                 .match(cli::Value::fromJson(json.out, &error)["message"].text())
                 .hasMatch(),
             json.out.constData());
  }

#ifndef _WIN32
  // As nohup and a script's background jobs start it.
  void aSignalIgnoredFromTheStartStaysIgnored_data() {
    QTest::addColumn<int>("ignored");
    QTest::newRow("SIGHUP") << SIGHUP;
    QTest::newRow("SIGINT") << SIGINT;
  }
  void aSignalIgnoredFromTheStartStaysIgnored() {
    QFETCH(int, ignored);
    const auto handler = std::signal(ignored, SIG_IGN);
    QProcess process;
    process.start(PROGRAM, {"-j", "watch", "audio", "--interval", "0.01"});
    const bool hasStarted = process.waitForStarted(30'000);
    std::signal(ignored, handler);
    QVERIFY(hasStarted && process.waitForReadyRead(30'000));
    ::kill(static_cast<pid_t>(process.processId()), ignored);
    process.readAllStandardOutput();
    for (qsizetype lines = 0; lines < 5; lines += process.readAllStandardOutput().count('\n')) {
      QVERIFY(process.waitForReadyRead(30'000));
    }
    ::kill(static_cast<pid_t>(process.processId()), SIGTERM);
    QVERIFY(process.waitForFinished(30'000));
    QCOMPARE(process.exitCode(), 0);
  }

  void interruptingAWatchEndsItWell() {
    QProcess process;
    process.start(PROGRAM, {"-j", "watch", "audio", "--interval", "0.05"});
    QVERIFY(process.waitForReadyRead(30'000));
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    QVERIFY(process.waitForFinished(30'000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    for (const QByteArray& line : process.readAllStandardOutput().split('\n')) {
      QString error;
      if (!line.isEmpty()) {
        QCOMPARE(cli::Value::fromJson(line, &error)["schema"].text(), QString("pellavox-cli/audio"));
      }
    }
  }
#endif
};

QTEST_GUILESS_MAIN(ProcessTest)
#include "process_test.moc"
