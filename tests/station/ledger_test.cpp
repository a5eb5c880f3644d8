#include "station/ledger_verify.h"
#include "station/reason_kind.h"
#include "station/report.h"
#include "tests/station/station_bench.h"

#include <array>
#include <atomic>
#include <sqlite3.h>
#include <thread>

using namespace station;

/// The ledger's rules, which its database enforces.
class LedgerTest : public QObject {
  Q_OBJECT

 private slots:
  void aUnitIsRecordedWhole();
  void aUnitPassesOnceARound();
  void aFailedUnitMayBeTriedAgain();
  void aUnitIsWorkedOnOnceAtATime();
  void aScrappedUnitIsOutForGood();
  void anEndedAttemptStaysAsItIs();
  void serialNumbersAreTakenInOrder_data();
  void serialNumbersAreTakenInOrder();
  void aNumberThatTheJobDoesNotGiveIsRefused();
  void aKeyIsTakenOnce();
  void aKeyThatIsReplacedIsLost();
  void rowsCanNeitherBeChangedNorRemoved();
  void statusCountsUnits();
  void failuresAreCountedByTheirKind();
  void aReasonsKindLeavesOutTheUnit_data();
  void aReasonsKindLeavesOutTheUnit();
  void twoProgramsThatBeginALedgerAtOnceShareIt();
};

namespace {

template <typename T>
QString refusal(const tl::expected<T, LedgerError>& result) {
  return result ? QString() : result.error().message;
}

Attempt begun(Ledger& ledger, const Job& job, const QString& serial = {}) {
  return StationBench::must(ledger.begin(job, StationBench::start(serial)));
}

void ended(Ledger& ledger, const Attempt& attempt, UnitResult result, int milliseconds = 1000) {
  StationBench::must(ledger.end(attempt.id, {result,
                                             result == UnitResult::kPass ? QString() : QString("broken"),
                                             {},
                                             {{"mcuVersion", "v1.3"}},
                                             std::chrono::milliseconds(milliseconds)}));
}

void requireWhole(const StationBench& bench) {
  QCOMPARE(StationBench::must(verifyLedger(bench.ledgerPath())).found, QStringList());
}

}  // namespace

void LedgerTest::aUnitIsRecordedWhole() {
  const StationBench bench;
  bench.makeKeys(1);
  Ledger ledger = bench.open();
  QVERIFY(ledger.isNew());
  const Attempt attempt = begun(ledger, bench.job(), "LINE-1");
  const TakenKey key = StationBench::must(ledger.takeKey(attempt.id, bench.job().keyFolder));
  const StepRecord step{"serial", StepOutcome::kFailed,         "readback",  "why",
                        2,        std::chrono::milliseconds(7), {{"a", "b"}}};
  StationBench::must(ledger.addStep(attempt.id, step));
  const auto open = StationBench::must(ledger.unfinished("A"));
  QCOMPARE(open.size(), std::size_t{1});
  QCOMPARE(open[0].attempt.serial, QString("LINE-1"));
  QCOMPARE(open[0].operatorName, QString("Ann"));
  QCOMPARE(open[0].jobSha256, bench.job().sha256);
  QCOMPARE(open[0].keys.size(), std::size_t{1});
  QCOMPARE(open[0].keys[0].sha256, key.sha256);
  QVERIFY(StationBench::must(ledger.unfinished("B")).empty());
  ended(ledger, attempt, UnitResult::kPass);
  QVERIFY(StationBench::must(ledger.unfinished("A")).empty());
  QCOMPARE(StationBench::must(ledger.unit("LINE-1")).keySha256, key.sha256);

  std::vector<AttemptRecord> records;
  StationBench::must(eachAttempt(ledger, {}, [&](const AttemptRecord& record) { records.push_back(record); }));
  QCOMPARE(records.size(), std::size_t{1});
  const AttemptRecord& record = records[0];
  QCOMPARE(record.result, QString("PASS"));
  QCOMPARE(record.versionsAfter, (Facts{{"mcuVersion", "v1.3"}}));
  QCOMPARE(record.steps.size(), std::size_t{1});
  QCOMPARE(record.steps[0].name, step.name);
  QCOMPARE(record.steps[0].outcome, step.outcome);
  QCOMPARE(record.steps[0].evidence, step.evidence);
  QCOMPARE(record.steps[0].reason, step.reason);
  QCOMPARE(record.steps[0].tries, step.tries);
  QCOMPARE(record.steps[0].duration, step.duration);
  QCOMPARE(record.steps[0].details, step.details);
  requireWhole(bench);
}

void LedgerTest::aUnitPassesOnceARound() {
  const StationBench bench;
  Ledger ledger = bench.open();
  const Job job = bench.job();
  ended(ledger, begun(ledger, job, "L1"), UnitResult::kPass);
  QCOMPARE(refusal(ledger.begin(job, StationBench::start("L1"))), QString("serial number L1 has passed already"));
  QVERIFY(StationBench::must(ledger.unit("L1")).hasPassed);
  QCOMPARE(StationBench::must(ledger.rework("L1", "Ann", "scratched")), 1);
  QVERIFY(!StationBench::must(ledger.unit("L1")).hasPassed);
  QCOMPARE(refusal(ledger.rework("L1", "Ann", "again")),
           QString("serial number L1 has not passed, so that there is nothing to rework"));
  const Attempt second = begun(ledger, job, "L1");
  QCOMPARE(second.round, 1);
  ended(ledger, second, UnitResult::kPass);
  QCOMPARE(refusal(ledger.begin(job, StationBench::start("L1"))), QString("serial number L1 has passed already"));
  requireWhole(bench);
}

void LedgerTest::aFailedUnitMayBeTriedAgain() {
  const StationBench bench;
  Ledger ledger = bench.open();
  for (const UnitResult result :
       {UnitResult::kFail, UnitResult::kError, UnitResult::kTimeout, UnitResult::kAborted, UnitResult::kPass}) {
    ended(ledger, begun(ledger, bench.job(), "L1"), result);
  }
  int attempts = 0;
  StationBench::must(eachAttempt(ledger, {"L1", {}}, [&](const AttemptRecord&) { ++attempts; }));
  QCOMPARE(attempts, 5);
}

void LedgerTest::aUnitIsWorkedOnOnceAtATime() {
  const StationBench bench;
  Ledger ledger = bench.open();
  Ledger other = bench.open();
  const Attempt attempt = begun(ledger, bench.job(), "L1");
  QCOMPARE(refusal(other.begin(bench.job(), StationBench::start("L1", "B"))),
           QString("serial number L1 has an attempt under way"));
  QCOMPARE(StationBench::must(other.unit("L1")).openAttempt, std::optional<std::int64_t>(attempt.id));
}

void LedgerTest::aScrappedUnitIsOutForGood() {
  const StationBench bench;
  bench.makeKeys(1);
  Ledger ledger = bench.open();
  const Attempt attempt = begun(ledger, bench.job(), "L1");
  StationBench::must(ledger.takeKey(attempt.id, bench.job().keyFolder));
  StationBench::must(ledger.scrap("L1", "Ann", "fell down"));
  const UnitState unit = StationBench::must(ledger.unit("L1"));
  QVERIFY(unit.isScrapped && !unit.openAttempt && unit.keySha256.isEmpty());
  QCOMPARE(refusal(ledger.begin(bench.job(), StationBench::start("L1"))), QString("serial number L1 was scrapped"));
  std::vector<AttemptRecord> records;
  StationBench::must(eachAttempt(ledger, {}, [&](const AttemptRecord& record) { records.push_back(record); }));
  QCOMPARE(records[0].result, QString("ABORTED"));
  QCOMPARE(records[0].keys[0].lost, QString("the unit was scrapped"));
  QCOMPARE(StationBench::must(eventsOf(ledger, "L1")).size(), std::size_t{1});
  QCOMPARE(refusal(ledger.scrap("L2", "Ann", "?")), QString("serial number L2 is not in the ledger"));
  requireWhole(bench);
}

void LedgerTest::anEndedAttemptStaysAsItIs() {
  const StationBench bench;
  bench.makeKeys(1);
  Ledger ledger = bench.open();
  const Attempt attempt = begun(ledger, bench.job(), "L1");
  ended(ledger, attempt, UnitResult::kFail);
  const QString text = QStringLiteral("attempt %1 has ended already").arg(attempt.id);
  QCOMPARE(refusal(ledger.addStep(attempt.id, StepRecord{})), text);
  QCOMPARE(refusal(ledger.takeKey(attempt.id, bench.job().keyFolder)), text);
  QVERIFY(!ledger.end(attempt.id, {}));
  QCOMPARE(refusal(ledger.end(77, {})), QString("there is no attempt 77"));
  QVERIFY(!ledger.addStep(77, StepRecord{}));
  requireWhole(bench);
}

void LedgerTest::serialNumbersAreTakenInOrder_data() {
  QTest::addColumn<QByteArray>("rule");
  QTest::addColumn<QStringList>("serials");
  QTest::addColumn<QString>("end");
  QTest::newRow("counted") << QByteArray(R"({"from": "count", "prefix": "L", "digits": 2, "first": 98})")
                           << QStringList{"L98", "L99"}
                           << "the counter L has no number of 2 digits left; give it another prefix";
  QTest::newRow("listed") << QByteArray(R"({"from": "list", "file": "list"})") << QStringList{"B", "A", "C"}
                          << "every serial number of list is taken; add more";
}

void LedgerTest::serialNumbersAreTakenInOrder() {
  QFETCH(QByteArray, rule);
  QFETCH(QStringList, serials);
  QFETCH(QString, end);
  const StationBench bench;
  bench.write("list", "B\nA\n\nB\nC\n");
  Ledger ledger = bench.open();
  for (const QString& serial : serials) {
    QCOMPARE(begun(ledger, bench.job(rule)).serial, serial);
  }
  const auto none = ledger.begin(bench.job(rule), StationBench::start());
  QCOMPARE(refusal(none).replace(bench.path("") + '/', ""), end);
  QCOMPARE(none.error().kind, LedgerError::Kind::kExhausted);
}

void LedgerTest::aNumberThatTheJobDoesNotGiveIsRefused() {
  const StationBench bench;
  bench.write("list", "A\n");
  Ledger ledger = bench.open();
  QCOMPARE(refusal(ledger.begin(bench.job(), StationBench::start())),
           QString("the job wants a serial number to be scanned"));
  QCOMPARE(refusal(ledger.begin(bench.job(R"({"from": "list", "file": "list"})"), StationBench::start("B"))),
           QString("serial number B is none that this job gives"));
  QCOMPARE(refusal(ledger.begin(bench.job(R"({"from": "count", "digits": 2})"), StationBench::start("77"))),
           QString("serial number 77 is none that this job gives"));
  QCOMPARE(refusal(ledger.begin(bench.job(R"({"from": "scan", "pattern": "A.*"})"), StationBench::start("B"))),
           QString("serial number B does not look like A.*"));
  QCOMPARE(begun(ledger, bench.job(R"({"from": "list", "file": "list"})"), "A").serial, QString("A"));
}

void LedgerTest::aKeyIsTakenOnce() {
  const StationBench bench;
  bench.makeKeys(2);
  bench.write("keys/key0003", "key 1");
  Ledger ledger = bench.open();
  const QString folder = bench.job().keyFolder;
  QStringList names;
  for (const char* serial : {"L1", "L2"}) {
    const Attempt attempt = begun(ledger, bench.job(), serial);
    names << QFileInfo(StationBench::must(ledger.takeKey(attempt.id, folder)).path).fileName();
  }
  QCOMPARE(names, (QStringList{"key0001", "key0002"}));
  const Attempt attempt = begun(ledger, bench.job(), "L3");
  QVERIFY2(refusal(ledger.takeKey(attempt.id, folder)).startsWith("no unused key is left in "),
           qPrintable(refusal(ledger.takeKey(attempt.id, folder))));
  // Different files with the same content, in another folder.
  QDir().rename(folder, bench.path("moved"));
  QVERIFY(!ledger.takeKey(attempt.id, bench.path("moved")));
  requireWhole(bench);
}

void LedgerTest::aKeyThatIsReplacedIsLost() {
  const StationBench bench;
  bench.makeKeys(3);
  Ledger ledger = bench.open();
  const Attempt attempt = begun(ledger, bench.job(), "L1");
  const QString folder = bench.job().keyFolder;
  StationBench::must(ledger.takeKey(attempt.id, folder));
  StationBench::must(ledger.takeKey(attempt.id, folder));
  const TakenKey third = StationBench::must(ledger.takeKey(attempt.id, folder));
  QCOMPARE(StationBench::must(ledger.unit("L1")).keySha256, third.sha256);
  StationBench::must(ledger.loseKey(attempt.id, third.sha256, "the burn failed"));
  QVERIFY(StationBench::must(ledger.unit("L1")).keySha256.isEmpty());
  QVERIFY(!ledger.loseKey(attempt.id, third.sha256, "once more"));
  QCOMPARE(StationBench::must(statusOf(ledger, {})).keysLost, std::int64_t{3});
  requireWhole(bench);
}

void LedgerTest::rowsCanNeitherBeChangedNorRemoved() {
  const StationBench bench;
  Ledger ledger = bench.open();
  ended(ledger, begun(ledger, bench.job(), "L1"), UnitResult::kFail);
  sqlite3* raw = nullptr;
  QCOMPARE(sqlite3_open(bench.ledgerPath().toUtf8().constData(), &raw), SQLITE_OK);
  for (const char* sql :
       {"UPDATE ends SET result = 'PASS'", "DELETE FROM ends", "DELETE FROM serials", "DELETE FROM head",
        "UPDATE head SET seq = 0", "INSERT OR REPLACE INTO head VALUES (1, 2, x'')",
        "INSERT INTO scraps VALUES (4, x'00', x'00', 'L1', 'a', 'b', 'c')"}) {
    QVERIFY2(sqlite3_exec(raw, sql, nullptr, nullptr, nullptr) != SQLITE_OK, sql);
  }
  sqlite3_close(raw);
  requireWhole(bench);
}

void LedgerTest::statusCountsUnits() {
  const StationBench bench;
  Ledger ledger = bench.open();
  const Job job = bench.job();
  ended(ledger, begun(ledger, job, "L1"), UnitResult::kPass, 10);
  ended(ledger, begun(ledger, job, "L2"), UnitResult::kPass, 30);
  ended(ledger, begun(ledger, job, "L3"), UnitResult::kPass, 20);
  const Attempt attempt = begun(ledger, job, "L4");
  StationBench::must(ledger.addStep(attempt.id, {"serial", StepOutcome::kFailed, {}, {}, 1, {}, {}}));
  ended(ledger, attempt, UnitResult::kFail);
  ended(ledger, begun(ledger, job, "L4"), UnitResult::kTimeout);
  ended(ledger, begun(ledger, job, "L4"), UnitResult::kTimeout);
  ended(ledger, begun(ledger, job, "L4"), UnitResult::kPass, 40);
  begun(ledger, job, "L5");
  const LineStatus status = StationBench::must(statusOf(ledger, QDateTime::currentDateTimeUtc().addSecs(-3600)));
  QCOMPARE(status.units, std::int64_t{4});
  QCOMPARE(status.passed, std::int64_t{4});
  QCOMPARE(status.attempts, std::int64_t{7});
  QCOMPARE(status.firstTried, std::int64_t{4});
  QCOMPARE(status.firstPassed, std::int64_t{3});
  QCOMPARE(status.open, std::int64_t{1});
  QCOMPARE(status.cycleMs, std::optional<std::int64_t>(30));
  QCOMPARE(status.longestMs, std::optional<std::int64_t>(40));
  QCOMPARE(status.failures.size(), std::size_t{2});
  QCOMPARE(status.failures[0].result, QString("TIMEOUT"));
  QCOMPARE(status.failures[0].count, std::int64_t{2});
  QCOMPARE(status.failures[1].step, QString("serial"));
  QCOMPARE(StationBench::must(statusOf(ledger, QDateTime::currentDateTimeUtc().addSecs(3600))).units, std::int64_t{0});
}

void LedgerTest::failuresAreCountedByTheirKind() {
  const StationBench bench;
  Ledger ledger = bench.open();
  const auto fail = [&](const QString& serial, const QString& reason) {
    const Attempt attempt = begun(ledger, bench.job(), serial);
    StationBench::must(ledger.end(attempt.id, {UnitResult::kError, reason, {}, {}, {}}));
  };
  const QString swapped = "before mcu another unit answers: its serial number is \"%1\" instead of \"%2\"";
  fail("L1", swapped.arg("L1", "L9"));
  fail("L2", "the unit does not answer before key: status -5");
  fail("L3", swapped.arg("L3", "FAB"));
  fail("L4", swapped.arg("L4", "x 7"));
  const auto failures = StationBench::must(statusOf(ledger, {})).failures;
  QCOMPARE(failures.size(), std::size_t{2});
  QCOMPARE(failures[0].count, std::int64_t{3});
  QCOMPARE(failures[0].kind, QString(swapped).replace("\"%1\"", "...").replace("\"%2\"", "..."));
  QCOMPARE(failures[0].reason, swapped.arg("L4", "x 7"));
  QCOMPARE(failures[1].count, std::int64_t{1});
  QCOMPARE(failures[1].kind, failures[1].reason);
}

void LedgerTest::aReasonsKindLeavesOutTheUnit_data() {
  QTest::addColumn<QString>("reason");
  QTest::addColumn<QString>("serial");
  QTest::addColumn<QString>("kind");
  const auto row = [](const char* reason, const char* serial, const char* kind) {
    QTest::newRow(reason) << reason << serial << kind;
  };
  row("", "L1", "");
  row("LN-AB was scrapped", "LN-AB", "... was scrapped");
  row("slots was scrapped", "slot", "slots was scrapped");
  row("the unit is FAB1 in the ledger, not LN000002", "FAB1", "the unit is ... in the ledger, not ...");
  row("key: the device did not take the key (status -14)", "L1", "key: the device did not take the key (status -14)");
  row("edid: slot 2: wrote 256 bytes, SHA-256 ef7b88a9..., but the device reads back 256 bytes, SHA-256 98b525bf...",
      "L1", "edid: slot 2: wrote ... bytes, SHA-256 ..., but the device reads back ... bytes, SHA-256 ...");
  row("mcu: written, but the version is v1.2 instead of v1.3", "L1",
      "mcu: written, but the version is ... instead of ...");
  row("/line/keys/7.key is not the file of the job: its SHA-256 is 0a1b", "L1",
      "... is not the file of the job: its SHA-256 is ...");
  row("serialNumber is \"L 1\" instead of \"L(2)\"; captureVersion cannot be read (status -5)", "L1",
      "serialNumber is ... instead of ...; captureVersion cannot be read (status -5)");
}
void LedgerTest::aReasonsKindLeavesOutTheUnit() {
  QFETCH(QString, reason);
  QFETCH(QString, serial);
  QFETCH(QString, kind);
  QCOMPARE(kindOfReason(reason, serial), kind);
}

void LedgerTest::twoProgramsThatBeginALedgerAtOnceShareIt() {
  constexpr int kRounds = 60;
  for (int round = 0; round < kRounds; ++round) {
    const StationBench bench;
    const Job job = bench.job();
    std::atomic<int> ready = 0;
    std::array<QString, 2> problems;
    const auto work = [&](std::size_t which) {
      ++ready;
      while (ready < 2) {
        std::this_thread::yield();
      }
      auto ledger = Ledger::open(bench.ledgerPath(), LedgerAccess::kWrite);
      if (!ledger) {
        problems.at(which) = refusal(ledger);
        return;
      }
      problems.at(which) = refusal(ledger->begin(job, StationBench::start(QStringLiteral("L%1").arg(which))));
    };
    std::thread other(work, 1);
    work(0);
    other.join();
    QCOMPARE(problems[0] + problems[1], QString());
    const Ledger ledger = bench.open(LedgerAccess::kRead);
    QVERIFY(StationBench::must(ledger.unit("L0")).isKnown && StationBench::must(ledger.unit("L1")).isKnown);
    requireWhole(bench);
  }
}

QTEST_GUILESS_MAIN(LedgerTest)
#include "ledger_test.moc"
