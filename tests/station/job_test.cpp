#include "tests/station/station_bench.h"

using namespace station;

/// Job files: what they say, and one clear line for each mistake.
class JobTest : public QObject {
  Q_OBJECT

 private slots:
  void aWholeJobIsRead();
  void mistakes_data();
  void mistakes();
};

namespace {

const QByteArray kHash(64, 'a');

const QByteArray kWhole = R"({
  "format": "pellavox station job 1",
  "model": "KVR-5B",
  "mcu": {"image": "main.bin", "sha256": "HASH", "version": "v1.3"},
  "capture": {"image": "../capture.img", "sha256": "HASH", "version": "V1.04.00"},
  "edid": {"tables": [{"slot": 2, "file": "b.bin", "sha256": "HASH"}, {"slot": 0, "file": "a.bin", "sha256": "HASH"}],
           "mode": "mixed", "slot": 2},
  "serial": {"from": "count", "prefix": "OV", "digits": 4, "first": 7, "pattern": "OV[0-9]+"},
  "keys": "keys",
  "steps": [{"do": "mcu", "retries": 3}, {"do": "capture"}, {"do": "key"}, {"do": "serial"}, {"do": "edid"}],
  "retries": 2,
  "compare": ["mcuVersion", "captureVersion", "serialNumber", "edidTables", "edidMode", "edidSlot"],
  "rework": "same-unit",
  "wait": {"device": 5, "restart": 6}
})";

QByteArray whole() { return QByteArray(kWhole).replace("HASH", kHash); }

}  // namespace

void JobTest::aWholeJobIsRead() {
  const auto job = readJob(whole(), "/line/jobs/kvr.json");
  QVERIFY(job.has_value());
  QCOMPARE(job->model, QString("KVR-5B"));
  QCOMPARE(job->mcu->path, QDir::cleanPath(QFileInfo("/line/jobs/main.bin").absoluteFilePath()));
  QCOMPARE(job->capture->path, QFileInfo("/line/capture.img").absoluteFilePath());
  QCOMPARE(job->capture->version, QString("V1.04.00"));
  QCOMPARE(job->edid.tables.size(), std::size_t{2});
  QCOMPARE(int(job->edid.tables[0].slot), 0);
  QCOMPARE(int(*job->edid.mode), 3);
  QCOMPARE(int(*job->edid.defaultSlot), 2);
  QCOMPARE(job->serial.source, SerialSource::kCount);
  QCOMPARE(job->serial.first, std::int64_t{7});
  QCOMPARE(job->keyFolder, QFileInfo("/line/jobs/keys").absoluteFilePath());
  QCOMPARE(job->steps.size(), std::size_t{5});
  QCOMPARE(job->steps[0].retries, 3);
  QCOMPARE(job->steps[1].retries, 2);
  QCOMPARE(job->compared.size(), std::size_t{6});
  QCOMPARE(job->rework, Rework::kSameUnit);
  QCOMPARE(job->waitForDevice, std::chrono::seconds(5));
  QCOMPARE(job->waitForRestart, std::chrono::seconds(6));
}

void JobTest::mistakes_data() {
  QTest::addColumn<QByteArray>("before");
  QTest::addColumn<QByteArray>("after");
  QTest::addColumn<QString>("line");
  const auto row = [](const char* before, const char* after, const char* line) {
    QTest::newRow(line) << QByteArray(before) << QByteArray(after) << QString(line);
  };
  row("\"model\": \"KVR-5B\",", "", "\"model\" is missing");
  row("\"KVR-5B\"", "\"KVR-9\"", "/model: must be one of: KVR-7, KVR-5B");
}

void JobTest::mistakes() {
  QFETCH(QByteArray, before);
  QFETCH(QByteArray, after);
  QFETCH(QString, line);
  const QByteArray bytes = whole().replace(before, after);
  QVERIFY(bytes != whole());
  const auto job = readJob(bytes, "line.json");
  QVERIFY(!job.has_value());
  QCOMPARE(job.error().size(), std::size_t{1});
  QCOMPARE(job.error().front().line(), "line.json: " + line);
}

QTEST_GUILESS_MAIN(JobTest)
#include "job_test.moc"
