#include "cli/run.h"
#include "cli/verbs/station_commands.h"
#include "station/job_check.h"

#include <QStringList>

namespace cli {
namespace {

void addMistakes(Document& document, const station::Mistakes& mistakes) {
  Value::List list;
  QStringList lines;
  for (const station::Mistake& mistake : mistakes) {
    list.emplace_back(Value::Members{{"file", mistake.file}, {"place", mistake.place}, {"text", mistake.text}});
    lines << mistake.line();
  }
  document.addQuietly("mistakes", list);
  document.addText(lines.join('\n'));
}

QString leftText(const std::optional<std::int64_t>& left) {
  return left ? QStringLiteral("%1 left").arg(*left) : QString();
}

void addJob(Document& document, const station::Job& job) {
  document.add("job", "Job", job.path);
  document.add("sha256", "SHA-256", job.sha256);
  document.add("model", "For", job.model);
  Value::List steps;
  QStringList names;
  for (const station::PlannedStep& planned : job.steps) {
    steps.emplace_back(nameOf(planned.step));
    names << nameOf(planned.step);
  }
  document.add("steps", "Steps", steps, names.join(", "));
}

void addLeft(Document& document, const station::JobCheck& check) {
  const auto valueOfLeft = [](const std::optional<std::int64_t>& left) { return left ? Value(*left) : Value(); };
  document.add("serialsLeft", "Serial numbers", valueOfLeft(check.serialsLeft),
               check.serialsLeft ? leftText(check.serialsLeft) : QStringLiteral("scanned"));
  document.add("keysLeft", "Keys", valueOfLeft(check.keysLeft),
               check.keysLeft ? leftText(check.keysLeft) : QStringLiteral("none needed"));
}

station::JobCheck checkWithLedger(const station::Job& job, const Arguments& arguments) {
  const QString path =
      arguments.has("ledger") ? arguments.text("ledger") : station::defaultLedgerPath(arguments.text("JOB"));
  // There is none before the first unit.
  if (station::Ledger::isNone(path)) {
    return station::checkJob(job, nullptr);
  }
  const station::Ledger ledger = valueOf(station::Ledger::open(path, station::LedgerAccess::kRead));
  return station::checkJob(job, &ledger);
}

void checkStationJob(Run& run, const Arguments& arguments) {
  Document document("station-check");
  const auto job = station::readJob(arguments.text("JOB"));
  station::Mistakes mistakes;
  if (job) {
    const station::JobCheck check = checkWithLedger(*job, arguments);
    addJob(document, *job);
    addLeft(document, check);
    mistakes = check.mistakes;
  } else {
    mistakes = job.error();
    document.add("job", "Job", arguments.text("JOB"));
  }
  document.add("ready", "Ready", mistakes.empty(), mistakes.empty() ? "yes" : "no");
  addMistakes(document, mistakes);
  run.finish(document);
  if (!mistakes.empty()) {
    run.setExitCode(ExitCode::kRefused);
  }
}

}  // namespace

std::vector<Command> stationCheckCommands() {
  return {{"check",
           "Find out whether all that a job needs is there; needs no device",
           {{"JOB", "The job file", Option::Takes::kValue, "", {}, true}, ledgerOption(false)},
           {},
           checkStationJob}};
}

}  // namespace cli
