#include "station/job_schema.h"
#include "station/schema_check.h"
#include "tests/station/station_bench.h"

#include <nlohmann/json.hpp>

using namespace station;

/// Job files: their content, and one clear line for each mistake.
class JobTest : public QObject {
  Q_OBJECT

 private slots:
  void aWholeJobIsRead();
  void mistakes_data();
  void mistakes();
  void invalidJsonIsRefused_data();
  void invalidJsonIsRefused();
  void allMistakesAreReported();
  void withoutCompareEverythingWrittenIsCompared();
  void theSchemaHasOnlyKeywordsThatAreChecked();
  void serialNumbers_data();
  void serialNumbers();
  void theLedgerIsNextToTheJob();
  void missingOrLargeFilesAreRefused();
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
  row("job 1", "job 2", "/format: must be one of: pellavox station job 1");
  row("\"model\": \"KVR-5B\"", "\"model\": 7", "/model: must be one of: KVR-7, KVR-5B");
  row("  \"retries\": 2,\n", "  \"retries\": 11,\n", "/retries: must be from 0 to 10 (of steps that do not say; 1)");
  row("\"retries\": 3", "\"retries\": -1", "/steps/0/retries: must be from 0 to 10");
  row("\"retries\": 3", "\"retries\": 1.5", "/steps/0/retries: must be a whole number");
  row("\"retries\": 3", "\"tries\": 3", "/steps/0/tries: is not known here; known are do, retries");
  row("\"do\": \"mcu\"", "\"do\": \"mcus\"", "/steps/0/do: must be one of: mcu, capture, key, serial, edid");
  row("{\"do\": \"key\"}", "\"key\"", "/steps/2: must be an object {...}");
  row("{\"do\": \"key\"}", "{\"do\": \"mcu\"}", "/steps/2: the step \"mcu\" stands there twice; remove one");
  constexpr auto kVersionMistake = "/mcu/version: must look like ^v(1[0-5]|[0-9])\\.(1[0-5]|[0-9])$ (for example v1.3)";
  row("\"v1.3\"", "\"1.3\"", kVersionMistake);
  for (const char* version : {"v1.3\\n", "v01.3", "v16.0", "v1.16"}) {
    QTest::newRow(version) << QByteArray("\"v1.3\"") << QByteArray("\"") + version + "\"" << QString(kVersionMistake);
  }
  row("\"main.bin\"", "\"\"", "/mcu/image: must not be empty (path, relative to the job file)");
  row("\"version\": \"v1.3\"}", "\"version\": \"v1.3\", \"size\": 1}",
      "/mcu/size: is not known here; known are image, sha256, version");
  row(", \"version\": \"v1.3\"", "", "/mcu: \"version\" is missing");
  row("\"slot\": 2, \"file\"", "\"slot\": 7, \"file\"", "/edid/tables/0/slot: must be from 0 to 6");
  row("\"slot\": 2, \"file\"", "\"slot\": 0, \"file\"",
      "/edid/tables: slot 0 stands there twice; give each slot one table");
  row("\"mixed\"", "\"any\"", "/edid/mode: must be one of: from-flash, follow-tx, follow-usb, mixed");
  row("\"from\": \"count\"", "\"from\": \"counter\"", "/serial/from: must be one of: scan, list, count");
  row("\"from\": \"count\", ", "\"from\": \"count\", \"file\": \"a.txt\", ",
      "/serial/file: belongs to \"from\": \"list\" only");
  row("\"digits\": 4, ", "", "/serial: \"digits\" is missing; \"from\": \"count\" needs it");
  row("\"OV[0-9]+\"", "\"OV[0-9\"",
      "/serial/pattern: is no regular expression: missing terminating ] for character class");
  row("\"OV[0-9]+\"", "\"OX[0-9]+\"",
      "/serial: gives numbers that are refused: serial number OV0007 does not look like OX[0-9]+");
  row("\"first\": 7", "\"first\": 12345", "/serial/first: has more than 4 digits; raise \"digits\"");
  row("\"digits\": 4", "\"digits\": 16",
      "/serial: gives numbers that are refused: serial number OV0000000000000007 has 18 characters, more than 16");
  row("  \"keys\": \"keys\",\n", "",
      "/steps/2: the step \"key\" needs \"keys\", which says nothing; add it or remove the step");
  row("\"serialNumber\", ", "", "/compare: leaves out \"serialNumber\", which the step \"serial\" writes; add it");
  row("[\"mcuVersion\", ", "[\"mcuVersion\", \"mcuVersion\", ", "/compare: has mcuVersion twice");
  row("\"mode\": \"mixed\", ", "",
      "/compare: the job does not say what \"edidMode\" must be; add that or remove the name");
  row("\"same-unit\"", "\"always\"", "/rework: must be one of: refuse, same-unit");
  row("\"device\": 5", "\"device\": 0", "/wait/device: must be from 1 to 86400 (seconds)");
  row("\"rework\": \"same-unit\",", "\"rework\": \"same-unit\", \"rework\": \"refuse\",",
      "\"rework\" stands there twice; remove one");
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

void JobTest::invalidJsonIsRefused_data() {
  QTest::addColumn<QByteArray>("bytes");
  QTest::addColumn<QString>("start");
  QTest::newRow("nothing") << QByteArray() << "line.json: line 1: is no JSON: ";
  QTest::newRow("cut") << whole().left(60) << "line.json: line 3: is no JSON: ";
  QTest::newRow("a comma too many") << whole().replace("\"KVR-5B\",", "\"KVR-5B\",,")
                                    << "line.json: line 3: is no JSON: ";
  QTest::newRow("no UTF-8") << whole().replace("KVR-5B", "KVR\xFF") << "line.json: line 3: is no JSON: ";
  QTest::newRow("deep") << QByteArray(100'000, '[') << "line.json: line 1: is no JSON: ";
  QTest::newRow("a number too large") << whole().replace("\"rework\"", "\"first\": 1e400, \"rework\"")
                                      << "line.json: is no JSON: number overflow parsing '1e400'";
  QTest::newRow("NUL bytes") << QByteArray(1000, '\0') << "line.json: line 1: is no JSON: ";
}

void JobTest::invalidJsonIsRefused() {
  QFETCH(QByteArray, bytes);
  QFETCH(QString, start);
  const auto job = readJob(bytes, "line.json");
  QVERIFY(!job.has_value());
  QCOMPARE(job.error().size(), std::size_t{1});
  const QString line = job.error().front().line();
  QVERIFY2(line.startsWith(start), qPrintable(line));
  QVERIFY2(!line.contains('\n') && line.size() < 300, qPrintable(line));
}

void JobTest::allMistakesAreReported() {
  const auto job = readJob(
      whole().replace("KVR-5B", "KVR").replace("v1.3", "1").replace("\"slot\": 2}", "\"slot\": 8}"), "line.json");
  QCOMPARE(job.error().size(), std::size_t{3});
}

void JobTest::withoutCompareEverythingWrittenIsCompared() {
  const StationBench bench;
  QCOMPARE(bench.job().compared, std::vector<Compared>{Compared::kSerialNumber});
  const auto job = readJob(whole()
                               .replace("\"compare\"", "\"wait\"")
                               .replace("[\"mcuVersion\", \"captureVersion\", "
                                        "\"serialNumber\", \"edidTables\", "
                                        "\"edidMode\", \"edidSlot\"]",
                                        "{\"device\": 1}")
                               .replace(",\n  \"wait\": {\"device\": 5, \"restart\": 6}", ""),
                           "line.json");
  QVERIFY2(job.has_value(), job ? "" : qPrintable(job.error().front().line()));
  QCOMPARE(job->compared.size(), std::size_t{6});
}

void JobTest::theSchemaHasOnlyKeywordsThatAreChecked() {
  const auto schema = nlohmann::json::parse(kJobSchema);
  QCOMPARE(unknownKeywords(schema).size(), std::size_t{0});
  auto other = schema;
  other["properties"]["model"]["format"] = "date";
  QCOMPARE(unknownKeywords(other), std::vector<std::string>{"format"});
}

void JobTest::serialNumbers_data() {
  QTest::addColumn<QString>("serial");
  QTest::addColumn<QString>("mistake");
  QTest::newRow("right") << "OV12"
                         << "";
  QTest::newRow("16 characters") << "OV12345678901234"
                                 << "";
  QTest::newRow("empty") << ""
                         << "the serial number is empty";
  QTest::newRow("17 characters") << "OV123456789012345"
                                 << "serial number OV123456789012345 has 17 characters, more than 16";
  QTest::newRow("pattern") << "AV12"
                           << "serial number AV12 does not look like OV[0-9]+";
  QTest::newRow("pattern, more behind it") << "OV12 "
                                           << "serial number OV12  does not look like OV[0-9]+";
  QTest::newRow("beyond ASCII") << QString::fromUtf8("OV\u00C4")
                                << QString::fromUtf8(
                                       "serial number OV\u00C4 has characters other than ASCII letters, "
                                       "digits and signs");
}

void JobTest::serialNumbers() {
  QFETCH(QString, serial);
  QFETCH(QString, mistake);
  SerialRule rule;
  rule.pattern = "OV[0-9]+";
  QCOMPARE(mistakeInSerialNumber(serial, rule), mistake);
}

void JobTest::theLedgerIsNextToTheJob() {
  QCOMPARE(defaultLedgerPath("/a/line.one.json"), QFileInfo("/a/line.one.ledger").absoluteFilePath());
  QCOMPARE(defaultLedgerPath("/a/line"), QFileInfo("/a/line.ledger").absoluteFilePath());
}

void JobTest::missingOrLargeFilesAreRefused() {
  const StationBench bench;
  QVERIFY(readJob(bench.path("missing.json")).error().front().text.startsWith("cannot be read"));
  QVERIFY(readJob(bench.path(".")).error().front().text.startsWith("cannot be read"));
  const QString large = bench.write("large.json", QByteArray(1024 * 1024 + 1, ' '));
  QCOMPARE(readJob(large).error().front().text, QString("is larger than 1048576 bytes; is it the right file?"));
}

QTEST_GUILESS_MAIN(JobTest)
#include "job_test.moc"
