#include "station/database.h"
#include "station/ledger_verify.h"
#include "tests/station/station_bench.h"

#include <sqlite3.h>

using namespace station;

/// A ledger is one file and, after a crash, a log beside it. What happens when somebody
/// takes one of the two away, or puts another copy in its place.
class LedgerPartsTest : public QObject {
  Q_OBJECT

 private slots:
  void aLogWithoutItsLedgerIsLeftAlone_data();
  void aLogWithoutItsLedgerIsLeftAlone();
  void aLedgerThatWasCutOffGoesOn();
  void anEmptyLogIsNoPart();
  void anotherCopyBesideALogIsRefusedOrWhole();
  void aLedgerThatIsBrokenAtItsEndIsRefused_data();
  void aLedgerThatIsBrokenAtItsEndIsRefused();
  void draftsThatACrashLeftAreRemoved();
};

namespace {

using Kind = LedgerError::Kind;

const QByteArray kCounter = R"({"from": "count", "digits": 4})";

QByteArray bytesOf(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void workOn(Ledger& ledger, const Job& job) {
  const Attempt attempt = StationBench::must(ledger.begin(job, StationBench::start()));
  for (int i = 0; i < 3; ++i) {
    // Long, so that the tables soon have several pages.
    StationBench::must(ledger.addStep(attempt.id, {"serial", StepOutcome::kDone, {}, QString(900, 'x'), 1, {}, {}}));
  }
  StationBench::must(ledger.end(attempt.id, {UnitResult::kPass, {}, {}, {}, {}}));
}

/// The two files as they are on the disk at a moment.
struct Parts {
  QByteArray ledger;
  QByteArray log;
};

/// What a crash leaves after each of some units; the log begins anew with each unit.
std::vector<Parts> crashesOf(const StationBench& bench, int units) {
  std::vector<Parts> crashes;
  for (int i = 0; i < units; ++i) {
    Ledger ledger = bench.open();
    workOn(ledger, bench.job(kCounter));
    crashes.push_back({bytesOf(bench.ledgerPath()), bytesOf(bench.ledgerPath() + "-wal")});
  }
  return crashes;
}

bool isWhole(const QString& path) {
  const auto verified = verifyLedger(path);
  return verified && verified->found.isEmpty();
}

}  // namespace

void LedgerPartsTest::aLogWithoutItsLedgerIsLeftAlone_data() {
  QTest::addColumn<QString>("part");
  QTest::newRow("write-ahead log") << "-wal";
  QTest::newRow("rollback journal") << "-journal";
}

void LedgerPartsTest::aLogWithoutItsLedgerIsLeftAlone() {
  QFETCH(QString, part);
  const StationBench bench;
  const Parts crash = crashesOf(bench, 2).back();
  const QString path = bench.path("cut.ledger");
  bench.write("cut.ledger" + part, crash.log);
  const QStringList files = QDir(bench.path("")).entryList(QDir::Files);
  for (const LedgerAccess access : {LedgerAccess::kWrite, LedgerAccess::kRead}) {
    const auto ledger = Ledger::open(path, access);
    QVERIFY(!ledger.has_value());
    QCOMPARE(ledger.error().kind, Kind::kMissing);
    QCOMPARE(QString(ledger.error().message).replace(path, "LEDGER"),
             "there is no ledger LEDGER, but LEDGER" + part +
                 ", a part of one: put the ledger back beside it, or move it to where the ledger is now");
  }
  QVERIFY(!Ledger::isNone(path));
  QCOMPARE(QDir(bench.path("")).entryList(QDir::Files), files);
  QCOMPARE(bytesOf(path + part), crash.log);
  // Without that part, a new ledger begins.
  QVERIFY(QFile::remove(path + part));
  QVERIFY(Ledger::isNone(path));
  QVERIFY(StationBench::must(Ledger::open(path, LedgerAccess::kWrite)).isNew());
}

void LedgerPartsTest::aLedgerThatWasCutOffGoesOn() {
  const StationBench bench;
  const Parts crash = crashesOf(bench, 3).back();
  const QString path = bench.write("cut.ledger", crash.ledger);
  bench.write("cut.ledger-wal", crash.log);
  {
    Ledger ledger = StationBench::must(Ledger::open(path, LedgerAccess::kWrite));
    QVERIFY(StationBench::must(ledger.unit("0003")).hasPassed);
    // A second station may begin meanwhile.
    QVERIFY(Ledger::open(path, LedgerAccess::kWrite).has_value());
    workOn(ledger, bench.job(kCounter));
  }
  QVERIFY2(!QFile::exists(path + "-wal"), "the log is part of the ledger now");
  QVERIFY(isWhole(path));
}

// A reader leaves an empty log.
void LedgerPartsTest::anEmptyLogIsNoPart() {
  const StationBench bench;
  crashesOf(bench, 1);
  QVERIFY(isWhole(bench.ledgerPath()));
  QVERIFY(QFile::rename(bench.ledgerPath(), bench.path("archive")));
  bench.write("line.ledger-wal", "");
  QVERIFY(Ledger::isNone(bench.ledgerPath()));
  QVERIFY(bench.open().isNew());
  crashesOf(bench, 1);
  QVERIFY(isWhole(bench.ledgerPath()));
  QVERIFY(isWhole(bench.path("archive")));
}

// Each state of the file with each log. Nothing can tell a state from before a log, if
// that log has all that came since.
void LedgerPartsTest::anotherCopyBesideALogIsRefusedOrWhole() {
  const StationBench bench;
  const std::vector<Parts> crashes = crashesOf(bench, 7);
  int refused = 0;
  for (std::size_t i = 0; i < crashes.size(); ++i) {
    for (std::size_t j = 0; j < crashes.size(); ++j) {
      const QString path = bench.write("mixed.ledger", crashes[i].ledger);
      bench.write("mixed.ledger-wal", crashes[j].log);
      const auto opened = Ledger::open(path, LedgerAccess::kWrite);
      const QByteArray pair = QByteArray::number(int(i)) + " with log " + QByteArray::number(int(j));
      QVERIFY2(i != j || opened.has_value(), pair);
      if (opened) {
        QVERIFY2(isWhole(path), pair);
        QVERIFY(StationBench::must(opened->unit(QStringLiteral("%1").arg(j + 1, 4, 10, QChar('0')))).hasPassed);
        continue;
      }
      ++refused;
      QCOMPARE(opened.error().kind, Kind::kDamaged);
      QVERIFY2(opened.error().message.contains("beside it is not its own") && !opened.error().message.contains('\n'),
               qPrintable(opened.error().message));
      QCOMPARE(bytesOf(path), crashes[i].ledger);
      QCOMPARE(bytesOf(path + "-wal"), crashes[j].log);
      QVERIFY(!isWhole(path));
      QFile::remove(path + "-shm");
    }
  }
  QVERIFY2(refused > 20, qPrintable(QString::number(refused)));
}

void LedgerPartsTest::aLedgerThatIsBrokenAtItsEndIsRefused_data() {
  QTest::addColumn<QString>("edit");
  QTest::addColumn<QString>("mistake");
  QTest::newRow("the last row is gone") << "DELETE FROM ends WHERE seq = 18"
                                        << "it has 17 rows, but its head counts 18";
  QTest::newRow("an early row is gone") << "DELETE FROM steps WHERE seq = 3"
                                        << "it has 17 rows, but its head counts 18";
  QTest::newRow("a row has moved") << "UPDATE steps SET seq = 40 WHERE seq = 3"
                                   << "it has 18 rows, but its head counts 18";
  QTest::newRow("the last row was changed") << "UPDATE ends SET result = 'FAIL' WHERE seq = 18"
                                            << "row 18 is missing or was changed";
  QTest::newRow("the head was set back") << "UPDATE head SET seq = 17"
                                         << "it has 18 rows, but its head counts 17";
  QTest::newRow("the head is of another ledger") << "UPDATE head SET hash = zeroblob(32)"
                                                 << "row 18 is missing or was changed";
  QTest::newRow("the head is gone") << "DELETE FROM head"
                                    << "the head of its chain is missing";
}

void LedgerPartsTest::aLedgerThatIsBrokenAtItsEndIsRefused() {
  QFETCH(QString, edit);
  QFETCH(QString, mistake);
  const StationBench bench;
  crashesOf(bench, 3);
  {
    const Database database(bench.ledgerPath(), Database::Access::kWrite);
    sqlite3_db_config(database.handle(), SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    database.run("PRAGMA foreign_keys = OFF");
    QCOMPARE(database.number("SELECT seq FROM head"), std::int64_t{18});
    database.run(edit.toStdString());
    database.mergeLogAtClose();
  }
  const QByteArray before = bytesOf(bench.ledgerPath());
  for (const LedgerAccess access : {LedgerAccess::kWrite, LedgerAccess::kRead}) {
    const auto ledger = Ledger::open(bench.ledgerPath(), access);
    QVERIFY(!ledger.has_value());
    QCOMPARE(ledger.error().kind, Kind::kDamaged);
    QCOMPARE(ledger.error().message, QString("the ledger %1 is damaged: %2").arg(bench.ledgerPath(), mistake));
  }
  QCOMPARE(bytesOf(bench.ledgerPath()), before);
  QVERIFY(!StationBench::must(verifyLedger(bench.ledgerPath())).found.isEmpty());
}

void LedgerPartsTest::draftsThatACrashLeftAreRemoved() {
  const StationBench bench;
  const QString draft = "line.ledger.new-0123456789abcdef0123456789abcdef";
  const QStringList others{"line.ledger.new-copy", "line.ledger.old",
                           "xline.ledger.new-0123456789abcdef0123456789abcdef"};
  for (const QString& name : others + QStringList{draft, draft + "-journal", draft + "-wal", draft + "-shm"}) {
    bench.write(name, "of before");
  }
  QVERIFY(bench.open().isNew());
  QCOMPARE(QDir(bench.path("")).entryList(QDir::Files, QDir::Name), QStringList("line.ledger") + others);
}

QTEST_GUILESS_MAIN(LedgerPartsTest)
#include "ledger_parts_test.moc"
