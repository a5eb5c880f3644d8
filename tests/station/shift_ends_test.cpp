#include "station/ledger_verify.h"
#include "tests/station/shift_bench.h"

#include <QtTest>

/// How shifts end that do not run to their end, and what the ledger's reports say then.
class ShiftEndsTest : public QObject {
  Q_OBJECT

 private slots:
  void emptyArgumentsAreNotTakenForNone_data();
  void emptyArgumentsAreNotTakenForNone();
};

void ShiftEndsTest::emptyArgumentsAreNotTakenForNone_data() {
  QTest::addColumn<QStringList>("arguments");
  QTest::addColumn<int>("code");
  QTest::addColumn<QByteArray>("error");
  const QString head(64, 'a');
  QTest::newRow("no unit") << QStringList{"show", ""} << 2 << QByteArray("the serial number is empty");
  QTest::newRow("a unit of no ledger") << QStringList{"show", "X"} << 5 << QByteArray("X is not in the ledger");
  QTest::newRow("no head") << QStringList{"verify", "--head", ""} << 2 << QByteArray("64 hexadecimal digits");
  QTest::newRow("blanks") << QStringList{"verify", "--head", " "} << 2 << QByteArray("64 hexadecimal digits");
  QTest::newRow("half a head") << QStringList{"verify", "--head", head.left(32)} << 2
                               << QByteArray("64 hexadecimal digits");
  QTest::newRow("no hash") << QStringList{"verify", "--head", QString(64, 'x')} << 2
                           << QByteArray("64 hexadecimal digits");
  QTest::newRow("a head of another ledger") << QStringList{"verify", "--head", head} << 11 << QByteArray();
}

void ShiftEndsTest::emptyArgumentsAreNotTakenForNone() {
  QFETCH(QStringList, arguments);
  QFETCH(int, code);
  QFETCH(QByteArray, error);
  ShiftBench bench;
  bench.plugInUnits(1);
  QCOMPARE(bench.run({"--count", "1"}).code, 0);
  const auto result = bench.cli.run(QStringList{"station"} + arguments + QStringList{"--ledger", bench.ledgerFile()});
  QVERIFY2(result.code == code, result.out + result.err);
  QVERIFY2(result.err.contains(error), result.err);
  QCOMPARE(result.err.count('\n'), error.isEmpty() ? 0 : 1);
}

QTEST_GUILESS_MAIN(ShiftEndsTest)
#include "shift_ends_test.moc"
