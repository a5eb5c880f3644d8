/// @file
/// A ledger with a damaged file. The input's first two bytes, unless zero, truncate the
/// file; each further four bytes change one byte: three for its place, one for its
/// value. The ledger must read as before, or the damage must be found.
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "station/job_reader.h"
#include "station/ledger_verify.h"
#include "station/report.h"

#include <QFile>
#include <QTemporaryDir>

namespace {

template <typename T>
T must(tl::expected<T, station::LedgerError> result) {
  fuzz::require(result.has_value(), "a ledger can be made");
  return *std::move(result);
}

void fill(const QString& path) {
  const auto job = station::readJob(R"({"format": "pellavox station job 1", "model": "KVR-7",
      "serial": {"from": "count", "prefix": "L", "digits": 3}, "steps": [{"do": "serial"}]})",
                                    QStringLiteral("/line/job.json"));
  fuzz::require(job.has_value(), "the job is one");
  auto ledger = must(station::Ledger::open(path, station::LedgerAccess::kWrite));
  for (const station::UnitResult result : {station::UnitResult::kPass, station::UnitResult::kFail}) {
    const auto attempt = must(ledger.begin(*job, {{}, "A", "Ann", "pellavox-cli", "library", {}}));
    fuzz::require(
        ledger.addStep(
                  attempt.id,
                  {"serial", station::StepOutcome::kDone, "readback", {}, 1, {}, {{"serialNumber", attempt.serial}}})
                .has_value() &&
            ledger.end(attempt.id, {result, "why", {{"a", "b"}}, {{"a", "c"}}, {}}).has_value(),
        "an attempt can be recorded");
  }
}

/// The ledger's content as a text; empty if it cannot be read.
QString told(const QString& path) {
  auto ledger = station::Ledger::open(path, station::LedgerAccess::kRead);
  if (!ledger) {
    fuzz::require(!ledger.error().message.isEmpty(), "a refusal has a reason");
    return {};
  }
  QString text;
  const auto visited = station::eachAttempt(*ledger, {}, [&](const station::AttemptRecord& attempt) {
    text += QStringList{attempt.serial,  attempt.job,     attempt.jobSha256, attempt.model,  attempt.station,
                        attempt.started, attempt.ended,   attempt.result,    attempt.reason, attempt.operatorName,
                        attempt.program, attempt.library, attempt.recording}
                .join('|');
    for (const station::StepRecord& step : attempt.steps) {
      text += step.name + step.evidence + step.reason + nameOf(step.outcome);
      for (const auto& [name, value] : step.details) {
        text += name + value;
      }
    }
  });
  static_cast<void>(station::statusOf(*ledger, {}));
  static_cast<void>(ledger->unit(QStringLiteral("L001")));
  static_cast<void>(ledger->unfinished(QStringLiteral("A")));
  return visited ? text : QString();
}

QByteArray content(const QString& path) {
  QFile file(path);
  fuzz::require(file.open(QIODevice::ReadOnly), "a ledger's file can be read");
  return file.readAll();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const QTemporaryDir folder;
  static const QString path = folder.filePath(QStringLiteral("damaged.ledger"));
  static const QByteArray whole = [] {
    const QString good = folder.filePath(QStringLiteral("good.ledger"));
    fill(good);
    return content(good);
  }();
  static const QString wholeText = told(folder.filePath(QStringLiteral("good.ledger")));
  fuzz::require(!wholeText.isEmpty(), "the ledger shows what was recorded");

  fuzz::Input input({data, size});
  QByteArray bytes = whole;
  const int cut = input.takeByte() * 256 + input.takeByte();
  if (cut > 0) {
    bytes.truncate(cut % bytes.size());
  }
  while (!input.rest().empty() && !bytes.isEmpty()) {
    const auto place = input.take(3);
    bytes[(place[0] * 65536 + place[1] * 256 + place[2]) % bytes.size()] = static_cast<char>(input.takeByte());
  }
  for (const char* const beside : {"-wal", "-shm"}) {
    QFile::remove(path + QLatin1String(beside));
  }
  QFile file(path);
  fuzz::require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(), "a file can be made");
  file.close();

  const auto verified = station::verifyLedger(path);
  const bool isClean = verified.has_value() && verified->found.isEmpty();
  fuzz::require(!isClean || told(path) == wholeText, "a ledger without a finding shows what was recorded");
  fuzz::require(verified.has_value() || !verified.error().message.isEmpty(), "a refusal has a reason");
  if (!isClean) {
    static_cast<void>(told(path));
  }
  return 0;
}
