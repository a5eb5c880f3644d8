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
  void aBurntKeyStaysWithItsUnitWhenTheJobChanges_data();
  void aBurntKeyStaysWithItsUnitWhenTheJobChanges();
};

namespace {

/// Ends a run as a crash would.
struct Cut {};

/// Runs a unit and cuts it off when the program shows a text.
void runUntilText(ShiftBench& bench, const QByteArray& wanted) {
  bench.onText = [&wanted](const QByteArray& text) {
    if (text.contains(wanted)) {
      throw Cut();
    }
  };
  bool isCut = false;
  try {
    bench.run({"--count", "1"});
  } catch (const Cut&) {
    isCut = true;
  }
  bench.onText = {};
  QVERIFY2(isCut, wanted);
}

}  // namespace

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

void ShiftEndsTest::aBurntKeyStaysWithItsUnitWhenTheJobChanges_data() {
  QTest::addColumn<bool>("isFirst");
  QTest::addColumn<QByteArray>("cutAt");
  QTest::addColumn<QString>("lost");
  QTest::newRow("before the unit was identified") << false << QByteArray("identify: done") << "";
  QTest::newRow("behind the identity") << false << QByteArray("serial: skipped") << "";
  QTest::newRow("behind the number") << false << QByteArray("mcu: skipped") << "";
  QTest::newRow("behind the key") << false << QByteArray("edid: failed") << "";
  QTest::newRow("a first attempt behind the key") << true << QByteArray("edid: failed") << "";
  QTest::newRow("a first attempt around the burn") << true << QByteArray("key: done") << "interrupted around its burn";
}

// The unit fails behind its key, is cut off in its next attempt, and the job changes.
void ShiftEndsTest::aBurntKeyStaysWithItsUnitWhenTheJobChanges() {
  QFETCH(bool, isFirst);
  QFETCH(QByteArray, cutAt);
  QFETCH(QString, lost);
  ShiftBench bench;
  bench.plugIn(R"({"faults": [{"at": "AT_EDID_Flash_Set_table", "count": 4, "status": -14}]})");
  if (!isFirst) {
    QVERIFY(bench.run({"--count", "1"}).err.contains("FAIL  LN000001"));
  }
  runUntilText(bench, cutAt);
  bench.job["steps"] = QJsonArray{ShiftBench::step("serial"), ShiftBench::step("key"), ShiftBench::step("edid", 5)};
  const auto abandoned = bench.run({"--count", "1"});
  QVERIFY2(abandoned.err.contains("ABORTED  LN000001: interrupted, and the job has changed since"), abandoned.err);
  const auto result = bench.run({"--count", "1"});
  QVERIFY2(result.err.contains("PASS  LN000001"), result.err);
  QCOMPARE(bench.units.at(0).key, ShiftBench::key(lost.isEmpty() ? 1 : 2));
  const auto shown = bench.cli.run({"station", "show", "LN000001", "--ledger", bench.ledgerFile()});
  QVERIFY2(shown.out.contains("lost: " + lost.toUtf8()) != lost.isEmpty(), shown.out);
}

QTEST_GUILESS_MAIN(ShiftEndsTest)
#include "shift_ends_test.moc"
