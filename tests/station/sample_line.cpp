// Writes a job with its files and the ledger of three units: station_sample_line FOLDER
#include "station/database.h"
#include "station/job_reader.h"
#include "station/ledger.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>

#include <cstdio>
#include <cstdlib>

using namespace station;

namespace {

QString folder;

void writeFile(const QString& name, const QByteArray& content) {
  QFile file(folder + '/' + name);
  if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
    std::fprintf(stderr, "cannot write %s\n", qPrintable(file.fileName()));
    std::exit(1);
  }
}

QByteArray hashOf(const QByteArray& content) {
  return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
}

template <typename T>
T must(tl::expected<T, LedgerError> result) {
  if (!result) {
    std::fprintf(stderr, "%s\n", qPrintable(result.error().message));
    std::exit(1);
  }
  if constexpr (!std::is_void_v<T>) {
    return *std::move(result);
  }
}

QByteArray jobText() {
  const QByteArray image = "KVR-7 V1.04.00";
  writeFile("capture.img", image);
  return R"({"format": "pellavox station job 1", "model": "KVR-7",
  "capture": {"image": "capture.img", "sha256": ")" +
         hashOf(image) + R"(", "version": "V1.04.00"},
  "serial": {"from": "count", "prefix": "LINE-", "digits": 4}, "keys": "keys",
  "steps": [{"do": "capture"}, {"do": "key"}, {"do": "serial"}]})";
}

void passUnit(Ledger& ledger, const Job& job) {
  const Attempt attempt = must(ledger.begin(job, {{}, "A", "Ann", "pellavox-cli 1.03", "library", "a.jsonl"}));
  must(ledger.takeKey(attempt.id, job.keyFolder));
  must(ledger.addStep(attempt.id,
                      {"capture", StepOutcome::kSkipped, "version", "the version is there already", 0, {}, {}}));
  must(ledger.addStep(
      attempt.id, {"key", StepOutcome::kDone, "reported", {}, 1, std::chrono::milliseconds(120), {{"file", "1.key"}}}));
  must(ledger.addStep(attempt.id, {"serial", StepOutcome::kDone, "readback", {}, 2, {}, {}}));
  must(ledger.end(attempt.id, {UnitResult::kPass,
                               {},
                               {{"captureVersion", "V1.04.00"}},
                               {{"captureVersion", "V1.04.00"}},
                               std::chrono::milliseconds(31'400)}));
}

void failUnit(Ledger& ledger, const Job& job) {
  const Attempt attempt = must(ledger.begin(job, {{}, "A", "Ann", "pellavox-cli 1.03", "library", {}}));
  must(ledger.takeKey(attempt.id, job.keyFolder));
  must(ledger.addStep(attempt.id, {"capture", StepOutcome::kFailed, {}, "the burn failed", 3, {}, {}}));
  must(ledger.end(attempt.id, {UnitResult::kFail, "the burn failed", {}, {}, std::chrono::milliseconds(9'000)}));
  must(ledger.scrap(attempt.serial, "Ann", "burnt out"));
}

void changeRow(const QString& path) {
  Database database(path, Database::Access::kWrite);
  database.run("DROP TRIGGER ends_unchanged; UPDATE ends SET result = 'PASS' WHERE result = 'FAIL'");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("Usage: station_sample_line FOLDER\n", stderr);
    return 2;
  }
  folder = QString::fromLocal8Bit(argv[1]);
  QDir(folder).mkpath("keys");
  writeFile("keys/1.key", "first key");
  writeFile("keys/2.key", "second key");
  writeFile("keys/3.key", "third key");
  const QByteArray text = jobText();
  writeFile("LINE", text);
  writeFile("BADLINE",
            QByteArray(text).replace("LINE-", "LINE\u00C4").replace("V1.04", "V1.05").replace("KVR-7\"", "\""));
  const auto job = readJob(folder + "/LINE");
  if (!job) {
    std::fprintf(stderr, "%s\n", qPrintable(job.error().front().line()));
    return 1;
  }
  for (const QString name : {"LEDGER", "CHANGED"}) {
    Ledger ledger = must(Ledger::open(folder + '/' + name, LedgerAccess::kWrite));
    passUnit(ledger, *job);
    failUnit(ledger, *job);
    must(ledger.begin(*job, {{}, "B", "Bob", "pellavox-cli 1.03", "library", {}}));
  }
  changeRow(folder + "/CHANGED");
  return 0;
}
