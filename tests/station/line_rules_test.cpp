#include "station/database.h"
#include "station/job_reader.h"
#include "tests/station/failing_vfs.h"
#include "tests/station/shift_bench.h"

#include <QtTest>

#include <set>

/// One number, one key and one result for each unit, whatever comes in between.
class LineRulesTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { failing_vfs::install(); }
  void cleanup() { failing_vfs::plan = {}; }

  void aResumeRefusesAUnitThatTheLedgerKnows();
  void aNumberThatAUnitCarriesGoesToNoOther();
  void aNumberThatNoUnitTookGoesToTheNext();
  void aKeyOfAnotherUnitIsNotTakenForItsOwn();
  void aRoundBeginsOnlyWithItsAttempt();
  void aNewKeyUnderAUsedNameIsTaken();
  void theExitCodeTellsWhetherAUnitWasBegun_data();
  void theExitCodeTellsWhetherAUnitWasBegun();
  void aCountOfNoUnitsTouchesNothing();
  void eachWriteFollowsALookAtTheUnit();
  void theLedgerNamesTheLibraryBehindTheRecorder();
};

namespace {

constexpr const char* kSetSerial = "AT_USB_Set_SerialNum";
constexpr const char* kSetTable = "AT_EDID_Flash_Set_table";

/// A device on which both tries of a step fail.
QByteArray failing(const char* operation, const QString& stateFile = {}) {
  const QByteArray state = stateFile.isEmpty() ? QByteArray() : "\"stateFile\": \"" + stateFile.toUtf8() + "\", ";
  return "{" + state + "\"faults\": [{\"at\": \"" + operation + "\", \"count\": 2, \"status\": -5}]}";
}

/// An attempt without any step, as a crash between the ledger's first two writes leaves it.
QString beginOnly(const ShiftBench& bench) {
  auto ledger = station::Ledger::open(bench.ledgerFile(), station::LedgerAccess::kWrite);
  const auto job = station::readJob(bench.jobFile());
  return ledger && job ? ledger->begin(*job, {{}, "A", "Ann", "program", "library", {}}).value().serial : QString();
}

/// Resumes quietly with whatever unit is there, and stops once that has waited for long.
CliBench::Result resumeForAWhile(ShiftBench& bench) {
  int pauses = 0;
  bench.onPauseToo = [&pauses] {
    if (++pauses == 50) {
      cli::interruption::request();
    }
  };
  auto result = bench.run({"-q", "--count", "1", "--unfinished", "resume"});
  cli::interruption::request(false);
  bench.onPauseToo = {};
  return result;
}

void scanNumbers(ShiftBench& bench) { bench.job["serial"] = QJsonObject{{"from", "scan"}}; }

CliBench::Result scanAndRun(ShiftBench& bench, const QString& serial) {
  bench.cli.answers = QStringList{serial};
  return bench.run({"--count", "1"});
}

int attemptsOf(const ShiftBench& bench, const QString& serial, int round) {
  const auto ledger = station::Ledger::open(bench.ledgerFile(), station::LedgerAccess::kRead);
  return static_cast<int>(ledger->database().number("SELECT count(*) FROM attempts WHERE serial = ? AND round = ?",
                                                    {station::sqlText(serial), std::int64_t{round}}));
}

}  // namespace

void LineRulesTest::aResumeRefusesAUnitThatTheLedgerKnows() {
  ShiftBench bench;
  bench.plugInUnits(1);
  QCOMPARE(resultsOf(bench.run({"--count", "1"})), QStringList("PASS LN000001"));
  QCOMPARE(beginOnly(bench), QString("LN000002"));
  const auto refused = resumeForAWhile(bench);
  QVERIFY2(refused.err.contains("This is another unit: the unit is LN000001 in the ledger, not LN000002. Unplug it."),
           refused.err);
  QCOMPARE(resultsOf(refused), QStringList());
  QCOMPARE(ShiftBench::look().serial, QByteArray("LN000001"));
  QCOMPARE(ShiftBench::look().key, ShiftBench::key(1));
  // A unit that the ledger does not know may be the one.
  bench.plugInUnits(1);
  QCOMPARE(resultsOf(bench.run({"--count", "1", "--unfinished", "resume"})), QStringList("PASS LN000002"));
  QCOMPARE(bench.units.at(0).key, ShiftBench::key(2));
  QCOMPARE(faultsOf(bench.ledgerFile()), QStringList());
}

void LineRulesTest::aNumberThatAUnitCarriesGoesToNoOther() {
  ShiftBench bench;
  scanNumbers(bench);
  bench.job["rework"] = "same-unit";
  const QString first = bench.cli.path("first.state");
  bench.plugIn(failing(kSetTable, first));
  QCOMPARE(resultsOf(scanAndRun(bench, "S100")), QStringList("FAIL S100"));
  bench.plugInUnits(1);
  const auto refused = scanAndRun(bench, "S100");
  QVERIFY2(refused.err.contains("ERROR  S100: S100 is the number of another unit\n"), refused.err);
  QVERIFY(refused.err.contains("Nothing was written to the unit: unplug it."));
  QCOMPARE(bench.units.at(0).serial, QByteArray("FAB1"));
  // Nor once an attempt was cut off before it identified its unit.
  bench.cli.answers = QStringList();
  {
    auto ledger = station::Ledger::open(bench.ledgerFile(), station::LedgerAccess::kWrite);
    const auto job = station::readJob(bench.jobFile());
    QVERIFY(ledger->begin(*job, {"S100", "A", "Ann", "program", "library", {}}).has_value());
  }
  const auto another = resumeForAWhile(bench);
  QVERIFY2(another.err.contains("This is another unit: S100 is the number of another unit. Unplug it."), another.err);
  bench.plugIn("{\"stateFile\": \"" + first.toUtf8() + "\"}");
  const auto result = bench.run({"--count", "1", "--unfinished", "resume"});
  QCOMPARE(resultsOf(result), QStringList("PASS S100"));
  QVERIFY2(result.err.contains("S100  key: skipped (ledger)"), result.err);
  QCOMPARE(bench.mistakeIn(bench.units.at(0), "S100"), QString());
  QCOMPARE(sha256(bench.units[0].key), unitOf(bench.ledgerFile(), "S100").keySha256);
}

void LineRulesTest::aNumberThatNoUnitTookGoesToTheNext() {
  ShiftBench bench;
  scanNumbers(bench);
  bench.plugIn(failing(kSetSerial));
  QCOMPARE(resultsOf(scanAndRun(bench, "S100")), QStringList("FAIL S100"));
  bench.plugInUnits(1);
  QCOMPARE(resultsOf(scanAndRun(bench, "S100")), QStringList("PASS S100"));
  // A unit that never came has not got its number either.
  simulator::unplug();
  QCOMPARE(resultsOf(scanAndRun(bench, "S200")), QStringList("TIMEOUT S200"));
  bench.plugInUnits(1);
  QCOMPARE(resultsOf(scanAndRun(bench, "S200")), QStringList("PASS S200"));
}

void LineRulesTest::aKeyOfAnotherUnitIsNotTakenForItsOwn() {
  ShiftBench bench;
  scanNumbers(bench);
  bench.plugIn(failing(kSetSerial));
  QCOMPARE(resultsOf(scanAndRun(bench, "S100")), QStringList("FAIL S100"));
  bench.plugIn(failing(kSetTable).replace("{\"faults\"", R"({"identity": {"serialNumber": "FAB2"}, "faults")"));
  QCOMPARE(resultsOf(scanAndRun(bench, "S100")), QStringList("FAIL S100"));
  QCOMPARE(bench.units.at(0).key, ShiftBench::key(1));
  // The first one had taken its number all the same, unnoticed.
  bench.plugIn(R"({"identity": {"serialNumber": "S100"}})");
  QCOMPARE(resultsOf(scanAndRun(bench, "S100")), QStringList("PASS S100"));
  QCOMPARE(bench.units.at(0).key, ShiftBench::key(2));
  QCOMPARE(unitOf(bench.ledgerFile(), "S100").keySha256, sha256(ShiftBench::key(2)));
}

// With a disk that is full after each number of writes.
void LineRulesTest::aRoundBeginsOnlyWithItsAttempt() {
  ShiftBench bench;
  bench.job["rework"] = "same-unit";
  bench.plugInUnits(1);
  QCOMPARE(resultsOf(bench.run({"--count", "1"})), QStringList("PASS LN000001"));
  bool isRound = false;
  int failed = 0;
  for (int writes = 0; !isRound; ++writes) {
    bench.onText = [writes](const QByteArray& text) {
      if (text.startsWith("Found ")) {
        failing_vfs::plan.writesLeft = writes;
      }
    };
    const auto result = bench.run({"--count", "1"});
    failing_vfs::plan = {};
    QCOMPARE(result.code, 12);
    isRound = attemptsOf(bench, "LN000001", 1) > 0;
    failed += isRound ? 0 : 1;
    QCOMPARE(unitOf(bench.ledgerFile(), "LN000001").round, isRound ? 1 : 0);
    QCOMPARE(unitOf(bench.ledgerFile(), "LN000001").hasPassed, !isRound);
    QCOMPARE(result.err.contains("Nothing was written to the unit"), !isRound);
  }
  QVERIFY(failed > 2);
  QCOMPARE(faultsOf(bench.ledgerFile()), QStringList());
}

void LineRulesTest::aNewKeyUnderAUsedNameIsTaken() {
  ShiftBench bench;
  QVERIFY(QDir(bench.cli.path("keys")).removeRecursively() && QDir().mkpath(bench.cli.path("keys")));
  bench.makeKeys(2);
  bench.plugInUnits(2);
  QCOMPARE(resultsOf(bench.run({"--count", "2"})), (QStringList{"PASS LN000001", "PASS LN000002"}));
  bench.cli.write("keys/key-00002.bin", ShiftBench::key(7));
  const auto check = bench.cli.run({"station", "check", bench.jobFile()});
  QVERIFY2(check.out.contains("Keys:            1 left"), check.out);
  bench.plugInUnits(1);
  // A used key that is wiped meanwhile is in nobody's way.
  bench.onText = [&bench](const QByteArray& text) {
    if (text.startsWith("Found ")) {
      bench.cli.write("keys/key-00001.bin", "");
    }
  };
  QCOMPARE(resultsOf(bench.run({"--count", "1"})), QStringList("PASS LN000003"));
  QCOMPARE(bench.units.at(0).key, ShiftBench::key(7));
}

void LineRulesTest::theExitCodeTellsWhetherAUnitWasBegun_data() {
  QTest::addColumn<QJsonObject>("serial");
  QTest::addColumn<int>("keys");
  QTest::addColumn<QString>("when");
  QTest::addColumn<int>("code");
  QTest::addColumn<QString>("message");
  const QJsonObject counter{{"from", "count"}, {"prefix", "LN"}, {"digits", 6}};
  QTest::newRow("no key is left") << counter << 1 << "" << 1 << "no unused key is left in ";
  QTest::newRow("no number is left") << QJsonObject{{"from", "list"}, {"file", "list"}} << 2 << "" << 5
                                     << "every serial number of ";
  QTest::newRow("the ledger takes no scrap")
      << counter << 2 << "The unit LN000002 was not finished" << 12 << "the disk is full";
}

void LineRulesTest::theExitCodeTellsWhetherAUnitWasBegun() {
  QFETCH(QJsonObject, serial);
  QFETCH(int, keys);
  QFETCH(QString, when);
  QFETCH(int, code);
  QFETCH(QString, message);
  ShiftBench bench;
  bench.job["serial"] = serial;
  bench.cli.write("list", "LN000001\n");
  QVERIFY(QDir(bench.cli.path("keys")).removeRecursively() && QDir().mkpath(bench.cli.path("keys")));
  bench.makeKeys(keys);
  bench.plugInUnits(1);
  QCOMPARE(resultsOf(bench.run({"--count", "1"})), QStringList("PASS LN000001"));
  if (!when.isEmpty()) {
    QCOMPARE(beginOnly(bench), QString("LN000002"));
    bench.onText = [&when](const QByteArray& text) {
      if (text.startsWith(when.toUtf8())) {
        failing_vfs::plan.writesLeft = 0;
      }
    };
  }
  bench.plugInUnits(1);
  const auto result = bench.run({"--count", "1", "--unfinished", "scrap"});
  QVERIFY2(result.err.contains("The shift ends: ") && result.err.contains(message.toUtf8()), result.err);
  QCOMPARE(result.code, code);
}

void LineRulesTest::aCountOfNoUnitsTouchesNothing() {
  ShiftBench bench;
  bench.plugInUnits(1);
  const auto result = bench.run({"--count", "0"});
  QCOMPARE(result.code, 2);
  QVERIFY(!QFile::exists(bench.ledgerFile()));
  QCOMPARE(callsOf("openPort"), 0);
}

void LineRulesTest::eachWriteFollowsALookAtTheUnit() {
  ShiftBench bench;
  bench.plugInUnits(1);
  simulator::clearJournal();
  QCOMPARE(resultsOf(bench.run({"--count", "1"})), QStringList("PASS LN000001"));
  const std::set<std::string> writes{kSetSerial,
                                     "burnToFlash",
                                     "burnHDCP",
                                     kSetTable,
                                     "AT_EDID_Set_EDID_mode",
                                     "AT_EDID_Flash_Set_Default_table",
                                     "AT_Set_System_Reboot"};
  std::set<std::string> seen;
  bool isLookedAt = false;
  for (const simulator::JournalEntry& entry : simulator::journal()) {
    isLookedAt = isLookedAt || entry.operation == "AT_USB_Get_iProduct";
    if (writes.contains(entry.operation)) {
      QVERIFY2(isLookedAt, entry.operation.c_str());
      seen.insert(entry.operation);
      isLookedAt = false;
    }
  }
  QCOMPARE(seen.size(), writes.size());
}

void LineRulesTest::theLedgerNamesTheLibraryBehindTheRecorder() {
  ShiftBench bench;
  bench.plugInUnits(1);
  qputenv("PELLAVOX_RECORDED_LIBRARY", bench.cli.write("vendor.so", "the vendor's").toUtf8());
  const auto recorded = bench.run({"--count", "1"});
  bench.plugInUnits(1);
  // Who names a library gets that one, and no recorder.
  const auto named = bench.run({"--count", "1", "--library", DEVICE_LIBRARY});
  qunsetenv("PELLAVOX_RECORDED_LIBRARY");
  QCOMPARE(resultsOf(recorded) + resultsOf(named), (QStringList{"PASS LN000001", "PASS LN000002"}));
  const auto ledger = station::Ledger::open(bench.ledgerFile(), station::LedgerAccess::kRead);
  auto libraries = ledger->database().prepare("SELECT library FROM attempts ORDER BY seq");
  QVERIFY(libraries.next());
  QCOMPARE(libraries.text(0), "vendor.so SHA-256 " + sha256("the vendor's"));
  QVERIFY(libraries.next());
  QVERIFY2(libraries.text(0).startsWith(QFileInfo(DEVICE_LIBRARY).fileName()), qPrintable(libraries.text(0)));
}

QTEST_GUILESS_MAIN(LineRulesTest)
#include "line_rules_test.moc"
