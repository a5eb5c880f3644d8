#include "station/ledger_verify.h"
#include "tests/station/station_bench.h"

using namespace station;

/// The rules of the ledger, which its database holds.
class LedgerTest : public QObject {
  Q_OBJECT

 private slots:
  void aUnitIsRecordedWhole();
};

void LedgerTest::aUnitIsRecordedWhole() {
  const StationBench bench;
  Ledger ledger = bench.open();
  QVERIFY(ledger.isNew());
  const Attempt attempt = StationBench::must(ledger.begin(bench.job(), StationBench::start("LINE-1")));
  StationBench::must(ledger.addStep(attempt.id, {"serial", StepOutcome::kDone, "readback", {}, 1, {}, {{"a", "b"}}}));
  auto open = StationBench::must(ledger.unfinished("A"));
  QCOMPARE(open.size(), std::size_t{1});
  QCOMPARE(open[0].steps.size(), std::size_t{1});
  QCOMPARE(open[0].steps[0].details, (Facts{{"a", "b"}}));
  StationBench::must(ledger.end(attempt.id, {UnitResult::kPass, {}, {}, {}, {}}));
  QVERIFY(StationBench::must(ledger.unit("LINE-1")).hasPassed);
  QVERIFY(StationBench::must(ledger.unfinished("A")).empty());
  const auto again = ledger.begin(bench.job(), StationBench::start("LINE-1"));
  QCOMPARE(again.error().message, QString("serial number LINE-1 has passed already"));
  const Verification found = StationBench::must(verifyLedger(bench.ledgerPath()));
  QCOMPARE(found.found, QStringList());
  QCOMPARE(found.rows, std::int64_t{4});
}

QTEST_GUILESS_MAIN(LedgerTest)
#include "ledger_test.moc"
