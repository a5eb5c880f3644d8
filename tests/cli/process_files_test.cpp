#include "tests/cli/cli_process.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#if defined(Q_OS_UNIX)
#include <sys/stat.h>
#endif

namespace {

// Byte 0x20 is the version that `mcu info` then shows.
QByteArray mcuFirmware() {
  QByteArray image(300, '\x55');
  image[0x20] = 0x13;
  return image;
}

}  // namespace

/// The verbs that take files, each in a process with its own device.
class ProcessFilesTest : public QObject {
  Q_OBJECT

  QTemporaryDir folder_;

  void write(const char* name, const QByteArray& content) const {
    QFile file(folder_.filePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), static_cast<qint64>(content.size()));
  }

 private slots:
  void initTestCase() {
    write("scenario.json", R"({"clock": "virtual"})");
    qputenv("RTICE_SIMULATOR_SCENARIO", folder_.filePath("scenario.json").toLocal8Bit());
    QByteArray table = runProgram({"edid", "read", "--slot", "1", "-o", "-"}).out;
    QCOMPARE(table.size(), 256);
    write("TABLE", table);
    table[255] = static_cast<char>(table[255] ^ 0x10);
    write("WRONG", table);
    write("IMAGE", QByteArray(5000, '\x01') + "KVR-7 V1.04.00");
    write("OTHER", "KVR-5B V1.04.00");
    write("MCU", mcuFirmware());
    write("KEY", "0123456789");
    write("EMPTY", "");
    QCOMPARE(runProgram({"snapshot", folder_.filePath("SNAPSHOT")}).code, 0);
  }

  void eachVerbsTextGoesWhereItBelongs_data() {
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("err");
    const auto row = [](const char* line, int code, const char* out, const char* err) {
      QTest::newRow(line) << line << code << out << err;
    };
    row("edid show --slot 5", 0, "^Maker: +ORV\n(.*\n)*Blocks: .*\n$", "^$");
    row("edid show --sink", 0, "^Maker: ", "^$");
    row("edid show --ddc", 0, "^Maker: ", "^$");
    row("edid show TABLE", 0, "^Maker: +ORV\n", "^$");
    row("edid check TABLE", 0, "^Size: +256 bytes\nFit to be written: +yes\n$", "^$");
    row("edid check WRONG", 5, "Fit to be written: +no\nWrong: block 1, byte 255: checksum", "^$");
    row("edid read --slot 2 -o OUTPUT", 0, "^Size: +256 bytes\nSaved to: +.*OUTPUT\n$", "^$");
    row("-y edid write TABLE --slot 2", 0,
        "^Table of slot 2: +256 bytes.*\nChanged: +yes\n(.*\n)*Evidence: +read back\n$", "^$");
    row("-y edid write TABLE --slot 1", 0, "Changed: +no\nEvidence: +it is so already\n$", "^$");
    row("-y edid write WRONG --slot 2 --fix-checksums", 0, "\nFixed: +byte 255: 0x", "^byte 255: 0x.. becomes 0x..\n$");
    row("-y edid write WRONG --slot 2", 5, "^$", "^pellavox-cli: .*--force=checksum lifts this check\n$");
    row("edid write TABLE --slot 2", 10, "^$", "^pellavox-cli: .*confirm with -y\n$");
    row("edid mode", 0, "^EDID mode: +from-flash\n$", "^$");
    row("edid mode mixed", 0, "^EDID mode: +mixed\nChanged: +yes\n", "^$");
    row("edid default", 0, "^Slot in use: +0\n$", "^$");
    row("edid default 4", 0, "^Slot in use: +4\nChanged: +yes\n", "^$");
    row("capture check IMAGE", 0, "^Image: .*\nSize: +5014 bytes\nFor: +KVR-7\n$", "^$");
    row("capture check OTHER", 5, "^$", "^pellavox-cli: .* is no image for the KVR-7.*--force=model");
    row("capture burn IMAGE", 10, "^$", "^pellavox-cli: Burn .*confirm with -y\n$");
    row("-n capture burn IMAGE", 0, "Changed: +no, a dry run\n$", "^$");
    row("-y capture burn OTHER", 5, "^$", "--force=model lifts this check\n$");
    row("-y capture burn IMAGE --expect V1.04.00", 0, "\nVersion: +V1\\.04\\.00\nChanged: +yes\n",
        "^(Burning: \\d+ %\n)*Burning: 100 %\n$");
    row("-q -y capture burn IMAGE --expect V9", 6, "^$", "^pellavox-cli: burnt, but the version is V1\\.04\\.00 .*\n$");
    row("mcu", 0, "^Mode: +application\nChip family: +2\nVersion: +v1\\.2\n$", "^$");
    row("mcu info", 0, "^Mode: +application\n", "^$");
    row("mcu upgrade MCU", 10, "^$", "^pellavox-cli: Upgrade .*confirm with -y\n$");
    row("-n mcu upgrade MCU", 0, "Changed: +no, a dry run\n$", "^$");
    row("-y mcu upgrade EMPTY", 5, "^$", "^pellavox-cli: .*EMPTY is empty\n$");
    row("-y mcu upgrade MCU --expect v1.3", 0, "\nVersion: +v1\\.3\n(.*\n)*Evidence: +checksum of each packet",
        "^(Upgrading: \\d+ %\n)*Upgrading: 100 %\n$");
    row("-y hdcp burn KEY", 10, "^$", "^pellavox-cli: .*--confirm=key\n$");
    row("--confirm=key hdcp burn KEY", 0, "^Key file: .*KEY\nChanged: +yes\nEvidence: +reported by the device only\n$",
        "^$");
    row("diff SNAPSHOT", 0, "^no difference\n$", "^$");
    row("doctor -o OUTPUT", 0, "^$", "^$");
    row("watch edid --count 1", 0, "\nSlot 6: +512 bytes\n", "^$");
    row("watch gpio --count 1", 0, "\nMISC 13: +0\n", "^$");
  }
  void eachVerbsTextGoesWhereItBelongs() {
    QFETCH(QString, line);
    QFETCH(int, code);
    QFETCH(QString, out);
    QFETCH(QString, err);
    QStringList words = line.split(' ');
    for (QString& word : words) {
      static const QRegularExpression kFile("^[A-Z]{3,}$");
      word = kFile.match(word).hasMatch() ? folder_.filePath(word) : word;
    }
    const EndedProcess ended = runProgram(words);
    QVERIFY2(ended.code == code, (QByteArray::number(ended.code) + ' ' + ended.out + ended.err).constData());
    QVERIFY2(QRegularExpression(out).match(ended.out).hasMatch(), ended.out.constData());
    QVERIFY2(QRegularExpression(err).match(ended.err).hasMatch(), ended.err.constData());
  }

#if defined(Q_OS_UNIX)
  void whatIsNoFileIsNeitherReplacedNorWaitedFor_data() {
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QStringList>("after");
    QTest::addColumn<int>("code");
    QTest::newRow("table") << QStringList{"edid", "read", "--slot", "1", "-o"} << QStringList() << 1;
    QTest::newRow("snapshot") << QStringList{"snapshot"} << QStringList() << 1;
    QTest::newRow("report") << QStringList{"doctor", "-o"} << QStringList() << 1;
    QTest::newRow("log") << QStringList{"--log"} << QStringList{"info"} << 2;
  }

  // A limit on the size of files stands for the full disk.
  void onAFullDiskTheOldFileStays_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("snapshot") << QStringList{"snapshot"};
    QTest::newRow("report") << QStringList{"doctor", "-o"};
    QTest::newRow("table") << QStringList{"edid", "read", "--slot", "6", "-o"};
  }
  void onAFullDiskTheOldFileStays() {
    QFETCH(QStringList, arguments);
    write("RESULT", "before");
    const QStringList limited{"-c", "trap '' XFSZ; ulimit -f 0; exec \"$@\"", "sh", PROGRAM};
    const EndedProcess ended = runToEnd("/bin/sh", limited + arguments + QStringList{folder_.filePath("RESULT")});
    QCOMPARE(ended.code, 1);
    QCOMPARE(ended.err, "pellavox-cli: cannot write " + folder_.filePath("RESULT").toUtf8() + ": File too large\n");
    QFile file(folder_.filePath("RESULT"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("before"));
  }

  void aLogThatCannotBeWrittenIsTold() {
    const QStringList limited{"-c", "trap '' XFSZ; ulimit -f 0; exec \"$@\"", "sh", PROGRAM};
    const EndedProcess ended = runToEnd("/bin/sh", limited + QStringList{"--log", folder_.filePath("LOG"), "info"});
    QCOMPARE(ended.code, 0);
    QCOMPARE(ended.err,
             "pellavox-cli: the log " + folder_.filePath("LOG").toUtf8() + " is incomplete: File too large\n");
  }

  // The next file opened would get a free stream's number.
  void whereAllStreamsAreClosedNoFileGetsTheResults() {
    const QString log = folder_.filePath("STREAMS");
    const QStringList closed{"-c", "exec \"$@\" <&- >&- 2>&-", "sh", PROGRAM, "--log", log, "-v", "serial", "get"};
    QCOMPARE(runToEnd("/bin/sh", closed).code, 1);
    QFile file(log);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray content = file.readAll();
    QVERIFY(content.contains("AT_USB_Get_SerialNum"));
    QVERIFY2(!content.contains("Serial number") && content.count("AT_USB_Get_SerialNum") == 1, content.constData());
  }

  void aRecordedProgramGetsItsEmptyArguments() {
    const QStringList record{"record", "-o", folder_.filePath("CALLS.jsonl"), "--"};
    const EndedProcess ended =
        runProgram(record + QStringList{"/bin/sh", "-c", "\"$0\" info; exit $#", PROGRAM, "", "x", ""});
    QCOMPARE(ended.err, QByteArray());
    QCOMPARE(ended.code, 3);
  }

  void aPipeAsLibraryStopsNobody() {
    const QString pipe = folder_.filePath("FIFO");
    QVERIFY(mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
    for (const QString& library : {pipe, QStringLiteral("/dev/zero")}) {
      const EndedProcess ended = runProgram({"--library", library, "doctor"});
      QVERIFY2(ended.code == 4, (QByteArray::number(ended.code) + ended.out + ended.err).constData());
      const QStringList station{"station", "run", folder_.filePath("NOWHERE"), "--operator", "A", "--station", "1"};
      QCOMPARE(runProgram(QStringList{"--library", library} + station).code, 5);
    }
  }

  // Opening a pipe for writing waits for somebody who reads.
  void whatIsNoFileIsNeitherReplacedNorWaitedFor() {
    QFETCH(QStringList, before);
    QFETCH(QStringList, after);
    QFETCH(int, code);
    const QString pipe = folder_.filePath("PIPE");
    QFile::remove(pipe);
    QVERIFY(mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
    for (const QString& path : {pipe, folder_.path()}) {
      const EndedProcess ended = runProgram(before + QStringList{path} + after);
      QVERIFY2(ended.code == code, (QByteArray::number(ended.code) + ' ' + ended.out + ended.err).constData());
      QVERIFY2(ended.err.contains(path.toUtf8() + ": it is no file\n"), ended.err.constData());
      QVERIFY(QFileInfo::exists(path) && !QFileInfo(path).isFile());
    }
  }
#endif

  void aTableGoesThroughPipes() {
    const QByteArray table = runProgram({"edid", "read", "--slot", "3", "-o", "-"}).out;
    QCOMPARE(table.size(), 256);
    QCOMPARE(runProgram({"edid", "check", "-"}, table).code, 0);
    QCOMPARE(runProgram({"-y", "edid", "write", "-", "--slot", "2"}, table).code, 0);
  }
};

QTEST_GUILESS_MAIN(ProcessFilesTest)
#include "process_files_test.moc"
