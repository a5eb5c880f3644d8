#include "cli/device_session.h"
#include "cli/failure.h"
#include "cli/interruption.h"
#include "cli/verbs/station_commands.h"
#include "cli/version.h"
#include "device/file_hash.h"
#include "device/hex.h"
#include "device/printable.h"
#include "session/device_types.h"
#include "station/job_check.h"
#include "station/shift.h"

#include <QFileInfo>

namespace cli {
namespace {

using namespace std::chrono_literals;

constexpr int kMostUnits = 1'000'000;
// Set by the verb record: then each attempt is in a recording.
constexpr const char* kRecordingVariable = "PELLAVOX_RECORDING";
constexpr const char* kRecordedLibraryVariable = "PELLAVOX_RECORDED_LIBRARY";

QString linesOf(const station::Mistakes& mistakes) {
  QStringList lines;
  for (const station::Mistake& mistake : mistakes) {
    lines << mistake.line();
  }
  return lines.join("; ");
}

station::Job jobArgument(const QString& path) {
  auto job = station::readJob(path);
  if (!job) {
    throw Failure(ExitCode::kRefused, linesOf(job.error()));
  }
  return *std::move(job);
}

/// What was used already is no matter here: a unit that was begun may need nothing more.
void requireFiles(const station::Job& job) {
  if (const station::JobCheck check = station::checkJob(job, nullptr); !check.mistakes.empty()) {
    throw Failure(ExitCode::kRefused, linesOf(check.mistakes));
  }
}

/// The verb record puts a library before the device's, and says which it forwards to.
QString deviceLibraryFile(const Run& run) {
  const QString recorded = qEnvironmentVariable(kRecordedLibraryVariable);
  return recorded.isEmpty() || !run.options().library.isEmpty() ? libraryFile(run) : recorded;
}

QString libraryText(const Run& run) {
  const QString path = deviceLibraryFile(run);
  const auto hash = device::hashOfFile(path);
  return QFileInfo(path).fileName() + (hash ? " SHA-256 " + *hash : QString());
}

/// A name for the ledger: whoever reads that must not be shown lines that it does
/// not have.
QString nameArgument(const Arguments& arguments, const std::string& option) {
  constexpr int kLongest = 100;
  QString name = arguments.text(option).trimmed();
  if (name.isEmpty() || name.size() > kLongest || device::printable(name) != name) {
    throw Failure(ExitCode::kUsage, QStringLiteral("--%1 takes a name of 1 to %2 letters in one line")
                                        .arg(QString::fromStdString(option))
                                        .arg(kLongest));
  }
  return name;
}

station::AttemptStart attemptStart(const Run& run, const Arguments& arguments) {
  station::AttemptStart start;
  start.station = nameArgument(arguments, "station");
  start.operatorName = nameArgument(arguments, "operator");
  start.program = QStringLiteral("pellavox-cli %1").arg(kVersionText);
  start.library = libraryText(run);
  start.recording = QFileInfo(qEnvironmentVariable(kRecordingVariable)).fileName();
  return start;
}

station::Unfinished unfinishedArgument(const Arguments& arguments) {
  const QString text = arguments.text("unfinished");
  return text == "resume"  ? station::Unfinished::kResume
         : text == "scrap" ? station::Unfinished::kScrap
                           : station::Unfinished::kAsk;
}

Globals optionsFor(const Run& run, const QString& model) {
  Globals options = run.options();
  options.model = model;
  const session::DeviceIds ids = session::deviceIds(model == "KVR-7" ? 0 : 1);
  options.ids = {device::hexOrZero(ids.vid), device::hexOrZero(ids.pid)};
  return options;
}

station::Ledger ledgerArgument(const Arguments& arguments, const QString& jobPath) {
  const QString path = arguments.has("ledger") ? arguments.text("ledger") : station::defaultLedgerPath(jobPath);
  return valueOf(station::Ledger::open(path, station::LedgerAccess::kWrite));
}

Document shiftDocument(const station::ShiftEnd& end, const station::Ledger& ledger) {
  Document document("station-run");
  Value::List units;
  for (const station::UnitEnd& unit : end.units) {
    units.emplace_back(Value::Members{{"result", station::nameOf(unit.result)},
                                      {"serialNumber", unit.serial.isEmpty() ? Value() : Value(unit.serial)},
                                      {"reason", unit.reason.isEmpty() ? Value() : Value(unit.reason)},
                                      {"recorded", unit.isBegun}});
  }
  const auto total = static_cast<int>(end.units.size());
  document.addQuietly("units", std::move(units));
  document.add("total", "Units", total);
  document.add("passed", "Passed", end.passed());
  document.add("notPassed", "Not passed", total - end.passed());
  document.add("ledger", "Ledger", ledger.path());
  return document;
}

ExitCode exitCodeOf(const station::ShiftEnd& end) {
  if (end.ledgerError) {
    const ExitCode code = ledgerFailure(*end.ledgerError).code;
    // Once a unit was begun, nobody can say that nothing was written.
    return code == ExitCode::kRefused && end.hasBegun() ? ExitCode::kFailed : code;
  }
  if (!end.problem.isEmpty() || end.passed() != static_cast<int>(end.units.size())) {
    return ExitCode::kFailed;
  }
  return end.units.empty() && interruption::isRequested() ? ExitCode::kInterrupted : ExitCode::kDone;
}

void runStation(Run& run, const Arguments& arguments) {
  if (run.options().dryRun) {
    throw Failure(ExitCode::kUsage, "station run has no dry run; station check tells what a job lacks");
  }
  station::ShiftOptions shift;
  shift.start = attemptStart(run, arguments);
  shift.unfinished = unfinishedArgument(arguments);
  shift.readLine = run.console().readLine;
  if (arguments.has("count")) {
    shift.count = static_cast<int>(arguments.number("count", 1, kMostUnits));
  }
  const station::Job job = jobArgument(arguments.text("JOB"));
  requireFiles(job);
  const auto files = station::readUnitFiles(job);
  if (!files) {
    throw Failure(ExitCode::kRefused, files.error());
  }
  const Console& console = run.console();
  const Globals options = optionsFor(run, job.model);
  Run held(options, console);
  const DeviceHold hold(held, console.now() + options.wait.value_or(0ms));
  station::Ledger ledger = ledgerArgument(arguments, job.path);

  station::Display display(console.err,
                           {console.showsErrorsAtTerminal, console.usesColour && options.colour, options.quiet});
  const station::Surroundings outside{console.pause, console.now, interruption::isRequested};
  station::DeviceLink link(options.ids, outside);
  const station::ShiftTools tools{job, *files, ledger, display, link, outside};
  const station::ShiftEnd end = station::Shift(tools, shift).run();
  if (!end.problem.isEmpty()) {
    display.warn(QStringLiteral("The shift ends: %1.").arg(end.problem));
  }
  run.finish(shiftDocument(end, ledger));
  run.setExitCode(exitCodeOf(end));
}

}  // namespace

Command stationRunCommand() {
  using Takes = Option::Takes;
  return {"run",
          "Work on unit after unit: scan, plug in, read PASS or FAIL, unplug",
          {{"JOB", "The job file", Takes::kValue, "", {}, true},
           {"--operator", "Who works here, for the ledger", Takes::kValue, "NAME", {}, true},
           {"--station", "Where, for the ledger; no two stations with one name", Takes::kValue, "NAME", {}, true},
           ledgerOption(false),
           {"--count", "End after so many units", Takes::kValue, "N"},
           {"--unfinished",
            "What to do with a unit that a crash left unfinished (default: ask)",
            Takes::kValue,
            "",
            {"resume", "scrap", "ask"}}},
          {},
          runStation};
}

}  // namespace cli
