#include "station/display.h"
#include "tests/station/shift_bench.h"

#include <QProcess>
#include <QtTest>

#include <set>

/// Units on a line, from the command line to their final content.
class ShiftTest : public QObject {
  Q_OBJECT

 private slots:
  void aGoodUnitPasses();
  void unitAfterUnitPasses();
  void theSampleShiftEndsAsItShould();
  void nothingIsWrittenToAUnitThatWasSwappedIn();
  void aUnitThatFailedPassesLaterUnderItsNumber();
  void completedStepsAreSkipped();
  void aUnitCutOffAnywhereIsResumed();
  void aUnitStoppedAnywhereIsRecordedAndRunsAgain();
  void anInterruptedUnitCanBeScrapped();
  void withoutAnAnswerNothingBegins();
  void anotherUnitIsNotTakenForTheInterruptedOne();
  void scannedNumbersMustMatchThePattern();
  void aTerminalShowsBigLettersAndRings();
  void anMcuThatIsStillStartingIsWaitedFor();
  void anMcuThatNeverAnswersFailsInTime();
  void aDeviceCannotForgeALineOfItsHistory();
  void aNameThatWouldForgeALineIsRefused_data();
  void aNameThatWouldForgeALineIsRefused();
};

namespace {

// A prime, so that all kinds of moments occur.
constexpr int kMomentsApart = 89;

/// Ends a run as a crash would.
struct Crash {};

/// Runs one unit and cuts it off at the given event; false if the unit ended first.
bool runUntil(ShiftBench& bench, int moment, const std::function<void()>& cut) {
  int left = moment;
  const auto count = [&] {
    if (left > 0 && --left == 0) {
      cut();
    }
  };
  bench.onText = [&](const QByteArray&) { count(); };
  bench.onPauseToo = count;
  try {
    bench.run({"--count", "1", "--unfinished", "resume"});
  } catch (const Crash&) {
  }
  bench.onText = {};
  bench.onPauseToo = {};
  return left == 0;
}

}  // namespace

void ShiftTest::aGoodUnitPasses() {
  ShiftBench bench;
  bench.plugInUnits(1);
  const auto result = bench.run({"--count", "1"});
  QVERIFY2(result.code == 0, result.err);
  QVERIFY2(result.err.contains("PASS  LN000001"), result.err);
  QVERIFY(result.err.contains("Put the label LN000001 on the unit and unplug it."));
  QVERIFY2(!result.err.contains('\033') && !result.err.contains('\a'), "a pipe gets plain lines");
  QVERIFY(result.out.contains("Passed:      1"));
  QCOMPARE(bench.units.size(), std::size_t{1});
  QCOMPARE(bench.mistakeIn(bench.units[0], "LN000001"), QString());
  QCOMPARE(bench.units[0].key, ShiftBench::key(1));
  for (const char* step :
       {"identify: done", "serial: done (readback)", "mcu: done (checksums+version)", "capture: done (version)",
        "key: done (reported)", "edid: done (readback)", "restart: done (answers)", "compare: done (readback)"}) {
    QVERIFY2(result.err.contains(QByteArray("LN000001  ") + step), step);
  }
  const auto verified = station::verifyLedger(bench.ledgerFile());
  QVERIFY(verified);
  QCOMPARE(verified->found, QStringList());
}

void ShiftTest::unitAfterUnitPasses() {
  ShiftBench bench;
  bench.plugInUnits(3);
  const auto result = bench.run({"--count", "3"});
  QVERIFY2(result.code == 0, result.err);
  QCOMPARE(bench.units.size(), std::size_t{3});
  for (int i = 0; i < 3; ++i) {
    const Unit& unit = bench.units[static_cast<std::size_t>(i)];
    QCOMPARE(bench.mistakeIn(unit, "LN00000" + QByteArray::number(i + 1)), QString());
    QCOMPARE(unit.key, ShiftBench::key(i + 1));
  }
}

void ShiftTest::theSampleShiftEndsAsItShould() {
  ShiftBench bench;
  QProcess samples;
  samples.start(SAMPLES, {"--station", bench.cli.path("line")});
  QVERIFY(samples.waitForFinished(-1) && samples.exitCode() == 0);
  QFile scenario(SCENARIO);
  QVERIFY(scenario.open(QIODevice::ReadOnly));
  bench.plugIn(scenario.readAll());
  const auto result = bench.cli.run(
      {"station", "run", bench.cli.path("line/job.json"), "--operator", "Ann", "--station", "A", "--count", "5"});
  QCOMPARE(resultsOf(result), (QStringList{"PASS OV7B00000001", "PASS OV7B00000002", "FAIL OV7B00000003",
                                           "ERROR OV7B00000004", "PASS OV7B00000005"}));
  QCOMPARE(result.code, 1);
  QVERIFY2(result.err.contains("OV7B00000002  capture: skipped (version), right already"), result.err);
  QVERIFY2(result.err.contains("another unit answers: its serial number is \"FACTORY-5\""), result.err);
  QCOMPARE(faultsOf(bench.cli.path("line/job.ledger")), QStringList());
}

void ShiftTest::nothingIsWrittenToAUnitThatWasSwappedIn() {
  for (const char* operation : {"AT_USB_Set_SerialNum", "AT_System_Send_ExternalMCU_cmd", "burnToFlash", "burnHDCP",
                                "AT_EDID_Flash_Set_table", "AT_EDID_Set_EDID_mode", "AT_Set_System_Reboot"}) {
    ShiftBench bench;
    bench.plugIn(QByteArray(R"({"units": [{"faults": [{"at": ")") + operation +
                 R"(", "what": "unplug"}]}, {"identity": {"serialNumber": "OTHER"}}]})");
    const auto result = bench.run({"--count", "1"});
    QCOMPARE(resultsOf(result), QStringList("ERROR LN000001"));
    QVERIFY2(result.err.contains("another unit answers: its serial number is \"OTHER\""), result.err);
    const Unit& other = bench.units.at(0);
    QCOMPARE(other.serial, QByteArray("OTHER"));
    QVERIFY(other.key.isEmpty() && other.captureFlash.isEmpty() && other.runsApplication);
    QVERIFY(other.edid != bench.table && !other.mcuFlash.startsWith(bench.mcuImage));
    QCOMPARE(faultsOf(bench.ledgerFile()), QStringList());
  }
}

void ShiftTest::aUnitThatFailedPassesLaterUnderItsNumber() {
  ShiftBench bench;
  // Both tries of the first attempt.
  bench.plugIn(R"({"faults": [{"at": "AT_EDID_Flash_Set_table", "count": 2, "status": -14}]})");
  QCOMPARE(resultsOf(bench.run({"--count", "1"})), QStringList("FAIL LN000001"));
  const auto result = bench.run({"--count", "1"});
  QCOMPARE(resultsOf(result), QStringList("PASS LN000001"));
  QVERIFY2(result.err.contains("LN000001  key: skipped (ledger)"), result.err);
  QCOMPARE(bench.mistakeIn(bench.units.at(0), "LN000001"), QString());
  QCOMPARE(bench.units[0].key, ShiftBench::key(1));
  // The unit is now done.
  const auto again = bench.run({"--count", "1"});
  QVERIFY2(again.err.contains("ERROR  LN000001: LN000001 has passed already"), again.err);
  QVERIFY(again.err.contains("Nothing was written to the unit: unplug it."));
}

void ShiftTest::completedStepsAreSkipped() {
  ShiftBench bench;
  bench.job["rework"] = "same-unit";
  bench.plugInUnits(1);
  QCOMPARE(resultsOf(bench.run({"--count", "1"})), QStringList("PASS LN000001"));
  simulator::clearJournal();
  const auto result = bench.run({"--count", "1"});
  QCOMPARE(resultsOf(result), QStringList("PASS LN000001"));
  for (const char* step : {"serial", "mcu", "capture", "key", "edid"}) {
    QVERIFY2(result.err.contains(QByteArray("LN000001  ") + step + ": skipped"), result.err);
  }
  for (const char* operation : {"AT_USB_Set_SerialNum", "AT_System_Send_ExternalMCU_cmd", "burnToFlash", "burnHDCP",
                                "AT_EDID_Flash_Set_table", "AT_EDID_Set_EDID_mode"}) {
    QCOMPARE(callsOf(operation), 0);
  }
}

// One unit per moment, all in one ledger.
void ShiftTest::aUnitCutOffAnywhereIsResumed() {
  ShiftBench bench;
  bench.makeKeys(60);
  std::set<QByteArray> keys;
  bool isCut = false;
  int units = 0;
  for (int moment = 1; moment == 1 || isCut; moment += kMomentsApart, ++units) {
    bench.plugInUnits(1);
    isCut = runUntil(bench, moment, [] { throw Crash(); });
    const auto result = bench.run({"--count", "1", "--unfinished", "resume"});
    // If it was cut off after its result or before its beginning, the next unit is new.
    if (!bench.units.empty() && resultsOf(result).value(0).startsWith("PASS")) {
      const QByteArray passed = resultsOf(result).value(0).mid(5).toLatin1();
      QCOMPARE(bench.mistakeIn(bench.units[0], passed), QString());
      QVERIFY2(keys.insert(bench.units[0].key).second, "a key that another unit has");
    } else {
      QVERIFY2(result.err.contains("has passed already"), result.err);
    }
  }
  QVERIFY2(units > 2, qPrintable(QString::number(units)));
  QCOMPARE(faultsOf(bench.ledgerFile()), QStringList());
}

void ShiftTest::aUnitStoppedAnywhereIsRecordedAndRunsAgain() {
  ShiftBench bench;
  bench.makeKeys(60);
  int aborted = 0;
  bool isCut = false;
  for (int moment = 1; moment == 1 || isCut; moment += kMomentsApart) {
    bench.plugInUnits(1);
    isCut = runUntil(bench, moment, [] { cli::interruption::request(); });
    cli::interruption::request(false);
    const auto opened = station::Ledger::open(bench.ledgerFile(), station::LedgerAccess::kRead);
    QVERIFY(opened && opened->unfinished("A") && opened->unfinished("A")->empty());
    const auto result = bench.run({"--count", "1"});
    const QString shown = resultsOf(result).value(0);
    aborted += shown.startsWith("PASS") ? 1 : 0;
    QVERIFY2(shown.startsWith("PASS") || result.err.contains("has passed already"), result.err);
  }
  QVERIFY2(aborted > 1, qPrintable(QString::number(aborted)));
  QCOMPARE(faultsOf(bench.ledgerFile()), QStringList());
}

void ShiftTest::anInterruptedUnitCanBeScrapped() {
  ShiftBench bench;
  bench.plugInUnits(1);
  QVERIFY(runUntil(bench, 12, [] { throw Crash(); }));
  bench.cli.answers = QStringList{"perhaps", "SCRAP"};
  const auto result = bench.run({"--count", "1"});
  QVERIFY2(result.err.contains("The unit LN000001 was not finished."), result.err);
  QVERIFY(result.err.contains("LN000001 is scrapped"));
  QVERIFY(unitOf(bench.ledgerFile(), "LN000001").isScrapped);
  // Having its own number already does not bring the unit back.
  QVERIFY(result.err.contains("PASS  LN000002") || result.err.contains("LN000001 was scrapped"));
}

void ShiftTest::withoutAnAnswerNothingBegins() {
  ShiftBench bench;
  bench.plugInUnits(1);
  QVERIFY(runUntil(bench, 12, [] { throw Crash(); }));
  simulator::clearJournal();
  const auto result = bench.run({"--count", "1"});
  QCOMPARE(result.code, 1);
  QVERIFY2(result.err.contains("the unit LN000001 waits for an answer: resume or scrap"), result.err);
  QCOMPARE(callsOf("openPort"), 0);
}

void ShiftTest::anotherUnitIsNotTakenForTheInterruptedOne() {
  ShiftBench bench;
  bench.plugInUnits(1);
  QVERIFY(runUntil(bench, 12, [] { throw Crash(); }));
  bench.plugInUnits(2, R"(,"edid":{"defaultSlot":4})");
  simulator::plugNextUnit();  // FAB2
  int pauses = 0;
  bench.onPauseToo = [&pauses] {
    if (++pauses == 50) {
      cli::interruption::request();
    }
  };
  const auto result = bench.run({"--count", "1", "--unfinished", "resume"});
  cli::interruption::request(false);
  QVERIFY2(result.err.contains("This is another unit: its serial number is \"FAB2\""), result.err);
  QCOMPARE(resultsOf(result), QStringList());
  QCOMPARE(ShiftBench::look().serial, QByteArray("FAB2"));
}

void ShiftTest::scannedNumbersMustMatchThePattern() {
  ShiftBench bench;
  bench.job["serial"] = QJsonObject{{"from", "scan"}, {"pattern", "SN[0-9]{4}"}};
  bench.plugInUnits(2);
  bench.cli.answers = QStringList{"", "SN12", " SN0001 ", "SN0001", "SN0002"};
  const auto result = bench.run();
  QVERIFY2(result.err.contains("SN12: "), result.err);
  QCOMPARE(resultsOf(result), (QStringList{"PASS SN0001", "ERROR SN0001", "TIMEOUT SN0002"}));
  QCOMPARE(bench.mistakeIn(bench.units.at(0), "SN0001"), QString());
  QVERIFY2(result.err.contains("SN0001 has passed already"), result.err);
  bench.cli.answers = QStringList{"SN12"};
  const auto quiet = bench.run({"-q"});
  QVERIFY2(quiet.err.contains("SN12: ") && quiet.err.contains("Scan again"), quiet.err);
}

void ShiftTest::aTerminalShowsBigLettersAndRings() {
  ShiftBench bench;
  bench.plugInUnits(1);
  bench.cli.isTerminal = true;
  const auto result = bench.run({"--count", "1"});
  const QString text = QString::fromUtf8(result.err);
  QVERIFY(text.contains('\a'));
  const QStringList letters = station::bigLetters("PASS");
  QCOMPARE(letters.size(), 14);
  for (const QString& line : letters) {
    QCOMPARE(line.size(), 4 * 12);
    QVERIFY(text.contains(line));
  }
  QVERIFY(letters.first() != station::bigLetters("FAIL").first());
}

void ShiftTest::anMcuThatIsStillStartingIsWaitedFor() {
  ShiftBench bench;
  // As after a crash in the middle of an upgrade.
  bench.plugIn(R"({"faults": [{"at": "AT_System_Get_ExternalMCU_cmd", "count": 60, "status": -1}]})");
  QCOMPARE(resultsOf(bench.run({"--count", "1"})), QStringList{"PASS LN000001"});
}

void ShiftTest::anMcuThatNeverAnswersFailsInTime() {
  ShiftBench bench;
  bench.plugIn(R"({"externalMcu": {"mode": "silent"}})");
  const auto before = simulator::now();
  const auto result = bench.run({"--count", "1"});
  QCOMPARE(resultsOf(result), QStringList{"FAIL LN000001"});
  QVERIFY2(result.err.contains("no MCU of a known family answers"), result.err);
  QVERIFY(simulator::now() - before < std::chrono::seconds(30));
}

void ShiftTest::aDeviceCannotForgeALineOfItsHistory() {
  ShiftBench bench;
  bench.plugIn(R"({"identity": {"serialNumber": "X\nAttempt 9: PASS"}})");
  QCOMPARE(resultsOf(bench.run({"--count", "1"})), QStringList{"PASS LN000001"});
  const auto shown = bench.cli.run({"station", "show", "LN000001", "--ledger", bench.ledgerFile()});
  QCOMPARE(shown.code, 0);
  QVERIFY2(shown.out.contains("X\\u000aAttempt 9: PASS") && !shown.out.contains("\nAttempt 9"), shown.out);
}

void ShiftTest::aNameThatWouldForgeALineIsRefused_data() {
  QTest::addColumn<QString>("option");
  QTest::addColumn<QString>("name");
  QTest::newRow("a line") << "--operator"
                          << "Ann\nAttempt 9: PASS";
  QTest::newRow("an escape sequence") << "--station"
                                      << "1\x1B[2J";
  QTest::newRow("nothing") << "--operator"
                           << "";
  QTest::newRow("blanks") << "--station"
                          << "  ";
  QTest::newRow("a book") << "--operator" << QString(101, 'x');
}

void ShiftTest::aNameThatWouldForgeALineIsRefused() {
  QFETCH(QString, option);
  QFETCH(QString, name);
  ShiftBench bench;
  QMap<QString, QString> names{{"--operator", "Ann"}, {"--station", "A"}};
  names[option] = name;
  const auto result = bench.cli.run({"station", "run", bench.jobFile(), "--operator", names["--operator"], "--station",
                                     names["--station"], "--count", "1"});
  QCOMPARE(result.code, 2);
  QVERIFY2(result.err.contains(option.toUtf8() + " takes a name of 1 to 100 letters"), result.err);
  QCOMPARE(result.err.count('\n'), 1);
  QVERIFY(!QFile::exists(bench.ledgerFile()));
}

QTEST_GUILESS_MAIN(ShiftTest)
#include "shift_test.moc"
