#include "tests/station/shift_bench.h"

#include <QtTest>

/// How shifts end that do not run to their end, and what the ledger's reports say then.
class ShiftEndsTest : public QObject {
  Q_OBJECT

 private slots:
  void emptyArgumentsAreNotTakenForNone_data();
  void emptyArgumentsAreNotTakenForNone();
  void aShiftThatLacksUnitsIsNoSuccess_data();
  void aShiftThatLacksUnitsIsNoSuccess();
  void aShiftThatIsStoppedEarlyIsNoSuccess();
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

void ShiftEndsTest::aShiftThatLacksUnitsIsNoSuccess_data() {
  QTest::addColumn<QStringList>("answers");
  QTest::addColumn<QStringList>("more");
  QTest::addColumn<int>("code");
  QTest::addColumn<QByteArray>("problem");
  const QStringList count{"--count", "2"};
  QTest::newRow("none") << QStringList() << count << 1 << QByteArray("the input ended after 0 of 2 units");
  QTest::newRow("none, quietly") << QStringList() << count + QStringList{"-q"} << 1
                                 << QByteArray("the input ended after 0 of 2 units");
  QTest::newRow("one") << QStringList{"S1"} << count << 1 << QByteArray("the input ended after 1 of 2 units");
  QTest::newRow("no number that fits") << QStringList{"X"} << count << 1
                                       << QByteArray("the input ended after 0 of 2 units");
  QTest::newRow("all") << QStringList{"S1", "S2"} << count << 0 << QByteArray();
  QTest::newRow("as many as there are") << QStringList{"S1"} << QStringList() << 0 << QByteArray();
}

void ShiftEndsTest::aShiftThatLacksUnitsIsNoSuccess() {
  QFETCH(QStringList, answers);
  QFETCH(QStringList, more);
  QFETCH(int, code);
  QFETCH(QByteArray, problem);
  ShiftBench bench;
  bench.job["serial"] = QJsonObject{{"from", "scan"}, {"pattern", "S[0-9]+"}};
  bench.plugInUnits(2);
  bench.cli.answers = answers;
  const auto result = bench.run(more);
  QVERIFY2(result.code == code, result.err);
  QVERIFY2(result.err.contains("The shift ends: " + problem) != problem.isEmpty(), result.err);
}

void ShiftEndsTest::aShiftThatIsStoppedEarlyIsNoSuccess() {
  for (const int after : {0, 1, 2}) {
    ShiftBench bench;
    bench.plugInUnits(2);
    int passed = 0;
    bench.onText = [&](const QByteArray& text) {
      passed += text.startsWith("PASS") ? 1 : 0;
      if (passed == after) {
        cli::interruption::request();
      }
    };
    const auto result = bench.run({"--count", "2"});
    cli::interruption::request(false);
    QVERIFY2(result.code == (after == 0 ? 130 : after == 1 ? 1 : 0), result.err);
    QCOMPARE(result.err.contains("The shift ends: stopped after 1 of 2 units"), after == 1);
  }
}

QTEST_GUILESS_MAIN(ShiftEndsTest)
#include "shift_ends_test.moc"
