#include "station/ledger_verify.h"
#include "tests/station/shift_bench.h"

#include <QtTest>

/// Units on a line, from the command line to what they then hold.
class ShiftTest : public QObject {
  Q_OBJECT

 private slots:
  void aGoodUnitPasses();
  void unitAfterUnitPasses();
};

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

QTEST_GUILESS_MAIN(ShiftTest)
#include "shift_test.moc"
