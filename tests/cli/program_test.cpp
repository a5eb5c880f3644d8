#include "cli/program.h"

#include "cli/device_lock.h"
#include "cli/parse.h"
#include "tests/cli/cli_bench.h"

#include <QFile>
#include <QtTest>

#include <set>

namespace {

/// Verbs that print no JSON document: they print a script, a manual page or another
/// program's output, or write a file.
const QStringList kWithoutDocument{"record",     "replay", "recording redact", "recording to-scenario",
                                   "completion", "manual"};

/// Full names of the commands that do something but are missing from `used`.
QStringList commandsWithoutLine(const cli::Command& command, const QString& path,
                                const std::set<const cli::Command*>& used) {
  QStringList missing;
  for (const cli::Command& child : command.commands) {
    const QString name = path + QString::fromStdString(child.name);
    if (child.action && used.count(&child) == 0) {
      missing << name;
    }
    missing << commandsWithoutLine(child, name + ' ', used);
  }
  return missing;
}

}  // namespace

/// Common behaviour of all verbs: options, errors, confirmation, exit.
class ProgramTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { bench_.renew(); }

  // Another test runs these lines and checks their documents against the schemas. A
  // verb without a line would go unchecked.
  void eachVerbHasALineInTheTestOfTheSchemas() {
    QFile lines(SCHEMA_LINES);
    QVERIFY(lines.open(QIODevice::ReadOnly | QIODevice::Text));
    std::set<const cli::Command*> used;
    for (const QString& line : QString::fromUtf8(lines.readAll()).split('\n', Qt::SkipEmptyParts)) {
      const QStringList words = line.split(' ', Qt::SkipEmptyParts);
      const auto parsed = cli::parse(cli::program(), words.mid(1));
      if (const auto* invocation = std::get_if<cli::Invocation>(&parsed); words.front() == "0" && invocation) {
        used.insert(invocation->command);
      }
    }
    QCOMPARE(commandsWithoutLine(cli::program(), {}, used).join(", "), kWithoutDocument.join(", "));
  }

  void theManualExplainsEveryExitCode() {
    const QByteArray page = bench_.run("manual").out;
    int codes = 0;
    for (int code = 0; code < 256; ++code) {
      const auto known = static_cast<cli::ExitCode>(code);
      if (known != cli::ExitCode::kFailed && cli::exitCodeName(known) == cli::exitCodeName(cli::ExitCode::kFailed)) {
        continue;
      }
      ++codes;
      QVERIFY2(page.contains(".TP\n\\fB" + QByteArray::number(code) + "\\fR\n"), QByteArray::number(code).constData());
    }
    QVERIFY(codes > 10);
  }

  void aWrongCommandLineTouchesNothing_data() {
    QTest::addColumn<QString>("line");
    for (const char* line : {"",
                             "nonsense",
                             "serial nonsense",
                             "serial set",
                             "serial set A B",
                             "video source vga",
                             "--wait=nan info",
                             "--wait=1e300 info",
                             "--wait=-1 info",
                             "--wait=inf info",
                             "--wait=soon info",
                             "-d KVR-9 info",
                             "-d 12345:1 info",
                             "--force=nothing info",
                             "--progress=loud info",
                             "audio gain loud",
                             "audio gain 99999",
                             "gpio get 14",
                             "gpio set 1 256",
                             "gpio get 1 --group moon",
                             "i2c get zz 0",
                             "i2c get 48 100 --reg-bytes 1",
                             "i2c get 48 0 257",
                             "i2c dump 48 5-2",
                             "i2c dump 48 5",
                             "i2c set 48 0 100",
                             "watch everything",
                             "watch --interval nan",
                             "watch --interval 0",
                             "watch --count 0",
                             "completion csh",
                             "--log /no/such/folder/log info"}) {
      QTest::newRow(line) << line;
    }
  }
  void aWrongCommandLineTouchesNothing() {
    QFETCH(QString, line);
    const auto result = bench_.run(line.split(' ', Qt::SkipEmptyParts));
    QCOMPARE(result.code, 2);
    QCOMPARE(result.out, QByteArray());
    QCOMPARE(result.err.count('\n'), 1);
    QVERIFY(result.err.startsWith("pellavox-cli: "));
    QVERIFY(simulator::journal().empty());

    const auto json = bench_.run(QStringList{"-j"} + line.split(' ', Qt::SkipEmptyParts));
    QCOMPARE(json.code, 2);
    QCOMPARE(json.err, QByteArray());
    QCOMPARE(json.document()["schema"].text(), QString("pellavox-cli/error"));
    QCOMPARE(json.document()["error"].text(), QString("usage"));
  }

  void helpAndVersionGoToStandardOutput() {
    for (const char* line : {"--help", "serial --help", "serial set --help"}) {
      const auto result = bench_.run(line);
      QCOMPARE(result.code, 0);
      QVERIFY(result.out.contains("pellavox-cli") && result.out.contains("[OPTIONS]"));
      QCOMPARE(result.err, QByteArray());
    }
    QVERIFY(bench_.run("--version").out.startsWith("pellavox-cli 1."));
    QVERIFY(simulator::journal().empty());
  }

  void globalOptionsMayPrecedeOrFollowTheVerb() {
    QVERIFY(!bench_.run("-j info").document().isNull());
    QVERIFY(!bench_.run("info -j").document().isNull());
    QVERIFY(!bench_.run("serial get -j").document().isNull());
    QCOMPARE(bench_.run("--wait info").code, 0);
    QCOMPARE(bench_.run("info --wait").code, 0);
    QCOMPARE(bench_.run("--wait=0.5 info").code, 0);
  }

  // A serial number may equal the name of a verb.
  void aValueMayReadLikeAVerb() {
    QCOMPARE(bench_.run("-y serial set info").code, 0);
    QVERIFY(bench_.run("serial").out.contains("info"));
  }

  void aMissingLibraryIsNamed() {
    const auto result = bench_.run("--library /no/such/library.so info");
    QCOMPARE(result.code, 4);
    QCOMPARE(result.out, QByteArray());
    QCOMPARE(result.err.count('\n'), 1);
    QVERIFY(result.err.contains("library.so"));
    QCOMPARE(bench_.run("-j --library /no/such/library.so info").document()["error"].text(), QString("library"));
  }

  void aLibraryThatLacksAnOperationIsNamedWithIt() {
    const auto result = bench_.run(QStringList{"--library", INCOMPLETE_LIBRARY, "info"});
    QCOMPARE(result.code, 4);
    QVERIFY(result.err.contains("AT_SetHDMI_HDCP_OnOff"));
  }

  void aModelThatIsNotPluggedInIsNotFound() {
    const auto result = bench_.run("-d KVR-5B info");
    QCOMPARE(result.code, 3);
    QVERIFY(result.err.contains("5C19:6B02"));
    QCOMPARE(bench_.run("-d 5c19:6b03 info").code, 0);
  }

  void itWaitsForTheDeviceAsLongAsRequested() {
    simulator::failCall("setDevice", 1, -3, 20);
    QCOMPARE(bench_.run("--wait=1 info").code, 3);
    const auto spent = simulator::now();
    QVERIFY(spent >= std::chrono::seconds(1) && spent < std::chrono::seconds(2));
    QCOMPARE(bench_.run("--wait=5 info").code, 0);
  }

  void aSecondInstanceLearnsWhoHoldsTheDevice() {
    auto lock = std::make_unique<cli::DeviceLock>(bench_.path("pellavox-5C19-6B03.lock"));
    QVERIFY(lock->tryLock() == cli::DeviceLock::Result::kLocked);
    const auto result = bench_.run("info");
    QCOMPARE(result.code, 8);
    QVERIFY(result.err.contains(QByteArray::number(QCoreApplication::applicationPid())));
    QVERIFY(simulator::journal().empty());
    lock.reset();
    QCOMPARE(bench_.run("info").code, 0);
  }

  void everyWayOutClosesThePort() {
    simulator::failCall("AT_USB_Set_SerialNum", 1, -100);
    QCOMPARE(bench_.run("info").code, 0);
    QCOMPARE(bench_.run("serial set A").code, 10);
    QCOMPARE(bench_.run("-y serial set A").code, 1);
    QCOMPARE(callsOf("openPort"), 3);
    QCOMPARE(callsOf("closePort"), 3);
  }

  void anUnreadableValueIsNullWithAReasonAndHidesNoOther() {
    simulator::failCall("AT_Get_UVC_Name", 1, -77);
    const auto result = bench_.run("-j info");
    QCOMPARE(result.code, 1);
    const cli::Value document = result.document();
    QVERIFY(document["uvcName"].isNull());
    QVERIFY(document["unread"]["uvcName"].text().contains("-77"));
    QCOMPARE(document["product"].text(), QString("KVR-7"));
  }

  void textsOfTheDeviceCannotCommandTheTerminal() {
    const QByteArray name = "A\x1b[31mB\xc2\x85";
    simulator::answerCall("AT_Get_UVC_Name", 1, 0, {name.begin(), name.end()});
    const auto result = bench_.run("info");
    QVERIFY(!result.out.contains('\x1b'));
    QVERIFY(result.out.contains("A\\u001b[31mB"));
    simulator::answerCall("AT_Get_UVC_Name", 2, 0, {name.begin(), name.end()});
    const auto json = bench_.run("-j info");
    QVERIFY(!json.out.contains('\x1b'));
    QVERIFY(json.document()["uvcName"].text().startsWith("A\x1b[31mB"));
  }

  void verbosePrintsEachCallToStandardErrorOnly() {
    const auto result = bench_.run("-v serial get");
    QVERIFY(result.err.contains("AT_USB_Get_SerialNum -> 0"));
    QVERIFY(!result.out.contains("AT_USB"));
  }

  void theLogIsAppendedTo() {
    const QString log = bench_.path("log");
    bench_.run(QStringList{"--log", log, "info"});
    bench_.run(QStringList{"--log", log, "serial"});
    QFile file(log);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray content = file.readAll();
    QVERIFY(content.contains("AT_Get_Customer_Ver -> 0"));
    QVERIFY(content.contains("AT_USB_Get_SerialNum -> 0"));
  }

  void anInterruptionBeforeTheWriteWritesNothing() {
    cli::interruption::request();
    QCOMPARE(bench_.run("-y serial set A").code, 130);
    QCOMPARE(callsOf("AT_USB_Set_SerialNum"), 0);
    bench_.isTerminal = true;
    cli::interruption::request(false);
  }

  void withoutATerminalNothingIsAsked() {
    const auto result = bench_.run("serial set A");
    QCOMPARE(result.code, 10);
    QVERIFY(result.err.contains("-y"));
    QCOMPARE(callsOf("AT_USB_Set_SerialNum"), 0);
  }

  void atATerminalOnlyYesGoesOn() {
    bench_.isTerminal = true;
    for (const QString& answer : {QString("n"), QString(), QString("maybe")}) {
      bench_.answers = QStringList{answer};
      QCOMPARE(bench_.run("serial set A").code, 10);
    }
    QCOMPARE(bench_.run("serial set A").code, 10);  // end of input
    QCOMPARE(callsOf("AT_USB_Set_SerialNum"), 0);
    bench_.answers = QStringList{"y"};
    const auto result = bench_.run("serial set A");
    QCOMPARE(result.code, 0);
    QVERIFY(result.err.contains("[y/N]"));
    QVERIFY(!result.out.contains("[y/N]"));
  }

  void anIrreversibleChangeWantsItsWord() {
    const QString key = bench_.write("key.bin", "0123456789");
    QCOMPARE(bench_.run(QStringList{"-y", "hdcp", "burn", key}).code, 10);
    QCOMPARE(bench_.run(QStringList{"--confirm=yes", "hdcp", "burn", key}).code, 10);
    bench_.isTerminal = true;
    bench_.answers = QStringList{"y"};
    QCOMPARE(bench_.run(QStringList{"hdcp", "burn", key}).code, 10);
    QCOMPARE(callsOf("burnHDCP"), 0);
    bench_.answers = QStringList{"key"};
    QCOMPARE(bench_.run(QStringList{"hdcp", "burn", key}).code, 0);
    bench_.isTerminal = false;
    QCOMPARE(bench_.run(QStringList{"--confirm=key", "hdcp", "burn", key}).code, 0);
    QCOMPARE(callsOf("burnHDCP"), 2);
  }

  void forceLiftsTheNamedCheckAndWantsAWord() {
    const QString tooLong = "12345678901234567";
    QCOMPARE(bench_.run(QStringList{"-y", "serial", "set", tooLong}).code, 5);
    QCOMPARE(bench_.run(QStringList{"-y", "--force=range", "serial", "set", tooLong}).code, 5);
    QCOMPARE(bench_.run(QStringList{"-y", "--force=serial", "serial", "set", tooLong}).code, 10);
    QCOMPARE(callsOf("AT_USB_Set_SerialNum"), 0);
    QCOMPARE(bench_.run(QStringList{"--confirm=force", "--force=serial", "serial", "set", tooLong}).code, 0);
  }

  void aDryRunWritesNothingAndSaysWhatItWould() {
    const auto result = bench_.run("-j -n serial set NEW");
    QCOMPARE(result.code, 0);
    QCOMPARE(result.document()["dryRun"], cli::Value(true));
    QCOMPARE(result.document()["changed"], cli::Value(false));
    QCOMPARE(result.document()["serialNumber"].text(), QString("NEW"));
    QCOMPARE(callsOf("AT_USB_Set_SerialNum"), 0);
    QCOMPARE(bench_.run("-n serial set \u00e9").code, 5);
  }

 private:
  CliBench bench_;
};

QTEST_GUILESS_MAIN(ProgramTest)
#include "program_test.moc"
