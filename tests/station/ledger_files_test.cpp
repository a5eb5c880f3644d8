#include "station/ledger_open.h"
#include "station/ledger_verify.h"
#include "tests/station/failing_vfs.h"
#include "tests/station/station_bench.h"

#include <memory>

using namespace station;

/// Ledger files that are read-only, of other formats, foreign, truncated, missing, or on a
/// full disk.
class LedgerFilesTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { failing_vfs::install(); }
  void init() { failing_vfs::plan = {}; }

  void aFullDiskLosesNothing_data();
  void aFullDiskLosesNothing();
  void aFullDiskLeavesNoHalfLedger();
  void aReadOnlyLedgerCanBeReadAndIsNotWritten();
  void anOlderFormatIsMigratedWithACopyKept();
  void aNewerFormatIsRefused();
  void filesThatAreNotLedgersAreRefused_data();
  void filesThatAreNotLedgersAreRefused();
  void aCutLedgerIsNoticed();
  void aHugeFileIsRefusedAtOnce();
  void aHugeValueIsAnError();
  void aHugeListHasItsNumbersLeft();
  void theHeadOfAnEmptyLedgerIsThatOfEveryChain();
  void aLedgerThatVanishesTakesNoMoreRows();
};

namespace {

using Kind = LedgerError::Kind;

QByteArray bytesOf(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Works on units until something fails.
/// @return how many steps the ledger said it has
int stepsUntilFailure(Ledger& ledger, const Job& job, LedgerError& error) {
  int steps = 0;
  for (int unit = 0; unit < 3; ++unit) {
    const auto attempt = ledger.begin(job, StationBench::start());
    if (!attempt) {
      error = attempt.error();
      return steps;
    }
    for (int i = 0; i < 2; ++i) {
      if (const auto added = ledger.addStep(attempt->id, {"serial", StepOutcome::kDone, {}, {}, 1, {}, {}}); !added) {
        error = added.error();
        return steps;
      }
      ++steps;
    }
    if (const auto ended = ledger.end(attempt->id, {UnitResult::kPass, {}, {}, {}, {}}); !ended) {
      error = ended.error();
      return steps;
    }
  }
  return steps;
}

void requireOneLine(const QString& message) {
  QVERIFY2(!message.isEmpty() && !message.contains('\n') && message.size() < 300, qPrintable(message));
}

const QByteArray kCounter = R"({"from": "count", "digits": 4})";

}  // namespace

void LedgerFilesTest::aFullDiskLosesNothing_data() {
  QTest::addColumn<int>("code");
  QTest::addColumn<QString>("message");
  QTest::newRow("full") << SQLITE_FULL << "cannot write the ledger LEDGER: the disk is full";
  QTest::newRow("no more quota") << SQLITE_IOERR_WRITE
                                 << "cannot read or write the ledger LEDGER: the disk is full or fails";
}

// At every 23rd write of three units.
void LedgerFilesTest::aFullDiskLosesNothing() {
  QFETCH(int, code);
  QFETCH(QString, message);
  bool failed = true;
  int writes = 0;
  for (; failed; writes += 23) {
    const StationBench bench;
    auto ledger = std::make_unique<Ledger>(bench.open());
    failing_vfs::plan.code = code;
    failing_vfs::plan.writesLeft = writes;
    LedgerError error;
    const int steps = stepsUntilFailure(*ledger, bench.job(kCounter), error);
    failed = !error.message.isEmpty();
    failing_vfs::plan = {};
    if (failed) {
      QCOMPARE(error.message.replace(bench.ledgerPath(), "LEDGER"), message);
      QCOMPARE(error.kind, Kind::kFull);
    }
    QCOMPARE(int(ledger->database().number("SELECT count(*) FROM steps")), steps);
    ledger.reset();
    QCOMPARE(StationBench::must(verifyLedger(bench.ledgerPath())).found, QStringList());
    // Once there is room again, work continues: no number is used twice or left out.
    Ledger again = bench.open();
    const auto attempt = StationBench::must(again.begin(bench.job(kCounter), StationBench::start()));
    const auto serials = again.database().number("SELECT count(*) FROM serials");
    QCOMPARE(attempt.serial, QStringLiteral("%1").arg(serials, 4, 10, QChar('0')));
  }
  QVERIFY(writes > 30);
}

void LedgerFilesTest::aFullDiskLeavesNoHalfLedger() {
  for (int writes = 0; writes < 20; writes += 3) {
    const StationBench bench;
    failing_vfs::plan.writesLeft = writes;
    const auto ledger = Ledger::open(bench.ledgerPath(), LedgerAccess::kWrite);
    QVERIFY(!ledger.has_value());
    QCOMPARE(ledger.error().kind, Kind::kFull);
    requireOneLine(ledger.error().message);
    QCOMPARE(QDir(bench.path("")).entryList(QDir::Files), QStringList());
    failing_vfs::plan = {};
  }
}

void LedgerFilesTest::aReadOnlyLedgerCanBeReadAndIsNotWritten() {
  const StationBench bench;
  StationBench::must(bench.open().begin(bench.job(kCounter), StationBench::start()));
  const QByteArray before = bytesOf(bench.ledgerPath());
  failing_vfs::plan.isReadOnly = true;
  const auto ledger = Ledger::open(bench.ledgerPath(), LedgerAccess::kWrite);
  QVERIFY(!ledger.has_value());
  QCOMPARE(ledger.error().kind, Kind::kReadOnly);
  QCOMPARE(QString(ledger.error().message).replace(bench.ledgerPath(), "LEDGER"),
           QString("cannot write the ledger LEDGER: it is read-only"));
  QCOMPARE(StationBench::must(verifyLedger(bench.ledgerPath())).rows, std::int64_t{2});
  QCOMPARE(bytesOf(bench.ledgerPath()), before);
}

void LedgerFilesTest::anOlderFormatIsMigratedWithACopyKept() {
  const StationBench bench;
  const Attempt attempt = StationBench::must(bench.open().begin(bench.job(kCounter), StationBench::start()));
  const std::vector<Migration> steps{{1, "ALTER TABLE attempts ADD COLUMN shift TEXT"},
                                     {2, "ALTER TABLE steps ADD COLUMN bench TEXT; CREATE INDEX i ON steps (bench)"}};
  const OpenedLedger migrated = openLedger(bench.ledgerPath(), LedgerAccess::kWrite, steps);
  QCOMPARE(migrated.copyOfOlder, bench.ledgerPath() + ".format-1");
  QCOMPARE(migrated.database.number("PRAGMA user_version"), std::int64_t{3});
  QCOMPARE(migrated.database.number("SELECT count(*) FROM attempts WHERE shift IS NULL"), std::int64_t{1});
  // The copy is the complete older ledger.
  const Verification copy = StationBench::must(verifyLedger(migrated.copyOfOlder));
  QCOMPARE(copy.found, QStringList());
  QCOMPARE(copy.rows, std::int64_t{2});
  QCOMPARE(
      StationBench::must(Ledger::open(migrated.copyOfOlder, LedgerAccess::kWrite)).unit(attempt.serial).value().isKnown,
      true);
  // Opening it again has nothing left to do.
  QVERIFY(openLedger(bench.ledgerPath(), LedgerAccess::kWrite, steps).copyOfOlder.isEmpty());
  // A reader migrates the ledger, too.
  QCOMPARE(openLedger(migrated.copyOfOlder, LedgerAccess::kRead, steps).copyOfOlder,
           migrated.copyOfOlder + ".format-1");
}

void LedgerFilesTest::aNewerFormatIsRefused() {
  const StationBench bench;
  const std::vector<Migration> steps{{1, "ALTER TABLE attempts ADD COLUMN shift TEXT"}};
  openLedger(bench.ledgerPath(), LedgerAccess::kWrite, steps);
  const QByteArray before = bytesOf(bench.ledgerPath());
  for (const LedgerAccess access : {LedgerAccess::kRead, LedgerAccess::kWrite}) {
    const auto ledger = Ledger::open(bench.ledgerPath(), access);
    QVERIFY(!ledger.has_value());
    QCOMPARE(ledger.error().kind, Kind::kNewer);
    QCOMPARE(QString(ledger.error().message).replace(bench.ledgerPath(), "LEDGER"),
             QString("the ledger LEDGER is of format 2, newer than 1, which this program knows; use a newer program"));
  }
  QCOMPARE(bytesOf(bench.ledgerPath()), before);
}

void LedgerFilesTest::filesThatAreNotLedgersAreRefused_data() {
  QTest::addColumn<QByteArray>("bytes");
  QTest::newRow("empty") << QByteArray();
  QTest::newRow("text") << QByteArray("serial,result\nLINE-1,PASS\n");
  QTest::newRow("zeros") << QByteArray(8192, '\0');
  QTest::newRow("only the start of a database") << QByteArray("SQLite format 3\0", 16);
  QTest::newRow("a database with garbage") << QByteArray("SQLite format 3\0", 16) + QByteArray(8192, '\xA5');
}

void LedgerFilesTest::filesThatAreNotLedgersAreRefused() {
  QFETCH(QByteArray, bytes);
  const StationBench bench;
  bench.write("line.ledger", bytes);
  for (const LedgerAccess access : {LedgerAccess::kRead, LedgerAccess::kWrite}) {
    const auto ledger = Ledger::open(bench.ledgerPath(), access);
    QVERIFY(!ledger.has_value());
    requireOneLine(ledger.error().message);
    QCOMPARE(bytesOf(bench.ledgerPath()), bytes);
  }
}

void LedgerFilesTest::aCutLedgerIsNoticed() {
  const StationBench bench;
  {
    Ledger ledger = bench.open();
    LedgerError error;
    stepsUntilFailure(ledger, bench.job(kCounter), error);
  }
  const QByteArray whole = bytesOf(bench.ledgerPath());
  QVERIFY(whole.size() > 20'000);
  for (int size = 1; size < whole.size(); size += 4099) {
    const QString cut = bench.write("cut.ledger", whole.left(size));
    const auto found = verifyLedger(cut);
    QVERIFY2(!found.has_value() || !found->found.isEmpty(), qPrintable(QString::number(size)));
    if (!found) {
      requireOneLine(found.error().message);
    }
  }
}

void LedgerFilesTest::aHugeFileIsRefusedAtOnce() {
  const StationBench bench;
  QFile file(bench.ledgerPath());
  QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(qint64{1} << 32U));
  file.close();
  const auto ledger = Ledger::open(bench.ledgerPath(), LedgerAccess::kWrite);
  QVERIFY(!ledger.has_value());
  QCOMPARE(ledger.error().kind, Kind::kNoLedger);
}

void LedgerFilesTest::aHugeValueIsAnError() {
  const Database database(":memory:", Database::Access::kCreate);
  const std::string huge(std::size_t{17} * 1024 * 1024, 'x');
  QVERIFY_EXCEPTION_THROWN(database.number("SELECT ? IS NULL", {huge}), DatabaseError);
  QVERIFY_EXCEPTION_THROWN(database.number("SELECT ? IS NULL", {Blob(huge.begin(), huge.end())}), DatabaseError);
}

// More than one value of the database can hold.
void LedgerFilesTest::aHugeListHasItsNumbersLeft() {
  const StationBench bench;
  bench.write("list", "A1\nA2\n" + QByteArray(17 * 1024 * 1024, 'x') + "\nA3\n");
  const Job job = bench.job(R"({"from": "list", "file": "list"})");
  Ledger ledger = bench.open();
  for (const char* serial : {"A1", "A2"}) {
    QCOMPARE(StationBench::must(ledger.begin(job, StationBench::start())).serial, QString(serial));
  }
  const auto list = readSerialList(job.serial.listFile);
  QCOMPARE(StationBench::must(ledger.freeSerials(*list)), list->mid(2));
  // The long line is named as what it is.
  const auto refused = ledger.begin(job, StationBench::start());
  QVERIFY(!refused.has_value());
  QCOMPARE(refused.error().kind, Kind::kRefused);
  QVERIFY(refused.error().message.contains("has 17825792 characters, more than 16"));
  QVERIFY(refused.error().message.size() < 400);
}

void LedgerFilesTest::theHeadOfAnEmptyLedgerIsThatOfEveryChain() {
  const StationBench bench;
  Ledger ledger = bench.open();
  const QString head = StationBench::must(verifyLedger(bench.ledgerPath())).head;
  QCOMPARE(head, QString(64, '0'));
  QCOMPARE(StationBench::must(verifyLedger(bench.ledgerPath(), head)).found, QStringList());
  StationBench::must(ledger.begin(bench.job(kCounter), StationBench::start()));
  QCOMPARE(StationBench::must(verifyLedger(bench.ledgerPath(), head)).found, QStringList());
  QCOMPARE(StationBench::must(verifyLedger(bench.ledgerPath(), QString(64, '1'))).found.size(), 1);
}

void LedgerFilesTest::aLedgerThatVanishesTakesNoMoreRows() {
  const StationBench bench;
  Ledger ledger = bench.open();
  const Attempt attempt = StationBench::must(ledger.begin(bench.job(kCounter), StationBench::start()));
#ifdef Q_OS_WIN
  // Windows does not allow removing an open file.
  QVERIFY(!QFile::remove(bench.ledgerPath()));
  QVERIFY(ledger.end(attempt.id, {}).has_value());
#else
  QVERIFY(QFile::rename(bench.ledgerPath(), bench.path("elsewhere")));
  const auto ended = ledger.end(attempt.id, {});
  QVERIFY(!ended.has_value());
  QCOMPARE(ended.error().kind, Kind::kMissing);
  requireOneLine(ended.error().message);
#endif
  QCOMPARE(Ledger::open(bench.path("never.ledger"), LedgerAccess::kRead).error().kind, Kind::kMissing);
}

QTEST_GUILESS_MAIN(LedgerFilesTest)
#include "ledger_files_test.moc"
