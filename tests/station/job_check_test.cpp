#include "station/job_check.h"

#include "tests/station/station_bench.h"

#include <QCryptographicHash>

using namespace station;

/// Checks that a job has what it needs: files, keys and serial numbers.
class JobCheckTest : public QObject {
  Q_OBJECT

 private slots:
  void aBareJobHasNoMistakes();
  void images_data();
  void images();
  void anImageThatTheRunRefusesIsRefused();
  void anEdidThatIsRefusedIsNamedByItsByte();
  void lists_data();
  void lists();
  void keys();
  void keysAndNumbersInTheLedgerAreUsed();
  void aCounterCountsWhatIsLeft();
};

namespace {

QStringList linesOf(const JobCheck& check, const StationBench& bench) {
  QStringList lines;
  for (const Mistake& mistake : check.mistakes) {
    lines << mistake.line().replace(bench.path("") + "/", "");
  }
  return lines;
}

QString hashOf(const QByteArray& bytes) {
  return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

/// A job that needs only what a test adds.
Job bareJob(const StationBench& bench) {
  Job job = bench.job();
  job.keyFolder.clear();
  return job;
}

}  // namespace

void JobCheckTest::aBareJobHasNoMistakes() {
  const StationBench bench;
  const JobCheck check = checkJob(bareJob(bench), nullptr);
  QCOMPARE(linesOf(check, bench), QStringList());
  QVERIFY(!check.keysLeft && !check.serialsLeft);
}

void JobCheckTest::images_data() {
  QTest::addColumn<QByteArray>("content");
  QTest::addColumn<QByteArray>("hashed");
  QTest::addColumn<QString>("mistake");
  QTest::newRow("right") << QByteArray("a KVR-7 image") << QByteArray("a KVR-7 image") << "";
  QTest::newRow("another file") << QByteArray("a KVR-7 image") << QByteArray("another")
                                << "line.json: /capture: image is another file than the job means: its SHA-256 is " +
                                       hashOf("a KVR-7 image");
  QTest::newRow("another model") << QByteArray("a KVR-5B image") << QByteArray("a KVR-5B image")
                                 << "line.json: /capture: image is no image for the KVR-7: it does not name it";
  QTest::newRow("empty") << QByteArray() << QByteArray()
                         << "line.json: /capture: image is empty or cannot be read; put the file there";
}

void JobCheckTest::images() {
  QFETCH(QByteArray, content);
  QFETCH(QByteArray, hashed);
  QFETCH(QString, mistake);
  const StationBench bench;
  Job job = bareJob(bench);
  job.capture = Image{bench.write("image", content), hashOf(hashed), "V1"};
  QCOMPARE(linesOf(checkJob(job, nullptr), bench), mistake.isEmpty() ? QStringList() : QStringList(mistake));
}

void JobCheckTest::anImageThatTheRunRefusesIsRefused() {
  const StationBench bench;
  QFile file(bench.write("image", "KVR-7"));
  QVERIFY(file.open(QIODevice::ReadWrite) && file.resize(qint64{64} * 1024 * 1024 + 1));
  Job job = bareJob(bench);
  job.capture = Image{file.fileName(), QString(64, '0'), "V1"};
  QCOMPARE(linesOf(checkJob(job, nullptr), bench),
           QStringList("line.json: /capture: image has more than 67108864 bytes"));
}

void JobCheckTest::anEdidThatIsRefusedIsNamedByItsByte() {
  const StationBench bench;
  Job job = bareJob(bench);
  const QByteArray table(128, '\0');
  job.edid.tables = {{2, bench.write("table", table), hashOf(table)}};
  const QStringList lines = linesOf(checkJob(job, nullptr), bench);
  QVERIFY(!lines.isEmpty());
  QVERIFY2(lines.front().startsWith("table: block 0, byte 1: "), qPrintable(lines.front()));
}

void JobCheckTest::lists_data() {
  QTest::addColumn<QByteArray>("list");
  QTest::addColumn<QStringList>("mistakes");
  QTest::newRow("right") << QByteArray("A1\r\n\nA2\n") << QStringList();
  QTest::newRow("twice") << QByteArray("A1\nA2\nA1\n")
                         << QStringList("list: number 3: serial number A1 is number 1 already; remove one");
  QTest::newRow("too long") << QByteArray("A1\nA2345678901234567\n")
                            << QStringList(
                                   "list: number 2: serial number A2345678901234567 has 17 characters, more "
                                   "than 16");
  QTest::newRow("empty") << QByteArray("\n") << QStringList("list: no unused serial number is left; add more");
}

void JobCheckTest::lists() {
  QFETCH(QByteArray, list);
  QFETCH(QStringList, mistakes);
  const StationBench bench;
  bench.write("list", list);
  Job job = bench.job(R"({"from": "list", "file": "list", "pattern": "A[0-9]+"})");
  job.keyFolder.clear();
  QCOMPARE(linesOf(checkJob(job, nullptr), bench), mistakes);
}

void JobCheckTest::keys() {
  const StationBench bench;
  const Job job = bench.job();
  QCOMPARE(linesOf(checkJob(job, nullptr), bench), QStringList("line.json: /keys: there is no folder keys"));
  bench.makeKeys(3);
  QCOMPARE(checkJob(job, nullptr).keysLeft, std::optional<std::int64_t>(3));
  bench.write("keys/9", "key 1");
  bench.write("keys/8", "");
  QCOMPARE(linesOf(checkJob(job, nullptr), bench),
           (QStringList{"keys/8: is no key: it is empty, too large or cannot be read; remove it",
                        "keys/key0001: is the same key as keys/9; remove one"}));
}

void JobCheckTest::keysAndNumbersInTheLedgerAreUsed() {
  const StationBench bench;
  bench.makeKeys(2);
  bench.write("list", "A1\nA2\n");
  const Job job = bench.job(R"({"from": "list", "file": "list"})");
  Ledger ledger = bench.open();
  for (int left = 1; left >= 0; --left) {
    const Attempt attempt = StationBench::must(ledger.begin(job, StationBench::start()));
    StationBench::must(ledger.takeKey(attempt.id, job.keyFolder));
    const JobCheck check = checkJob(job, &ledger);
    QCOMPARE(check.keysLeft, std::optional<std::int64_t>(left));
    QCOMPARE(check.serialsLeft, std::optional<std::int64_t>(left));
    QCOMPARE(check.mistakes.size(), left == 0 ? std::size_t{2} : std::size_t{0});
  }
}

void JobCheckTest::aCounterCountsWhatIsLeft() {
  const StationBench bench;
  Job job = bench.job(R"({"from": "count", "prefix": "A", "digits": 1, "first": 8})");
  job.keyFolder.clear();
  Ledger ledger = bench.open();
  for (int left = 2; left > 0; --left) {
    QCOMPARE(checkJob(job, &ledger).serialsLeft, std::optional<std::int64_t>(left));
    StationBench::must(ledger.begin(job, StationBench::start()));
  }
  QCOMPARE(linesOf(checkJob(job, &ledger), bench),
           QStringList("line.json: /serial: the counter A is at its end; give it another prefix"));
}

QTEST_GUILESS_MAIN(JobCheckTest)
#include "job_check_test.moc"
