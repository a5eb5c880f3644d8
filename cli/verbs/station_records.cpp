#include "cli/result_file.h"
#include "cli/run.h"
#include "cli/verbs/station_commands.h"
#include "cli/verbs/station_export.h"
#include "station/ledger_verify.h"
#include "station/report.h"

#include <QDate>
#include <QRegularExpression>
#include <QStringList>

namespace cli {
namespace {

station::Ledger openLedger(const Arguments& arguments) {
  return valueOf(station::Ledger::open(arguments.text("ledger"), station::LedgerAccess::kRead));
}

QString secondsText(std::int64_t milliseconds) {
  return QStringLiteral("%1 s").arg(static_cast<double>(milliseconds) / 1000.0, 0, 'f', 1);
}

void addYield(Document& document, const station::LineStatus& status) {
  if (status.firstTried == 0) {
    document.add("firstPassYield", "First-pass yield", {}, "no unit yet");
    return;
  }
  const double yield = static_cast<double>(status.firstPassed) / static_cast<double>(status.firstTried);
  document.add(
      "firstPassYield", "First-pass yield", yield,
      QStringLiteral("%1 % (%2 of %3)").arg(yield * 100.0, 0, 'f', 1).arg(status.firstPassed).arg(status.firstTried));
}

void addCycleTime(Document& document, const station::LineStatus& status) {
  if (!status.cycleMs) {
    document.add("cycleMs", "Cycle time", {}, "no unit passed yet");
    document.addQuietly("longestMs", {});
    return;
  }
  document.add("cycleMs", "Cycle time", *status.cycleMs,
               QStringLiteral("%1 (longest %2)")
                   .arg(secondsText(*status.cycleMs), secondsText(status.longestMs.value_or(*status.cycleMs))));
  document.addQuietly("longestMs", status.longestMs.value_or(*status.cycleMs));
}

void addFailures(Document& document, const station::LineStatus& status) {
  Value::List list;
  QStringList lines;
  for (const station::FailureCount& failure : status.failures) {
    list.emplace_back(Value::Members{{"result", failure.result},
                                     {"step", failure.step},
                                     {"kind", failure.kind},
                                     {"reason", failure.reason},
                                     {"count", failure.count}});
    const QString where = failure.step.isEmpty() ? failure.result : failure.result + " at " + failure.step;
    lines << QStringLiteral("  %1 x %2: %3").arg(failure.count).arg(where, failure.kind);
  }
  document.addQuietly("failures", list);
  document.addText(lines.isEmpty() ? QString("No failures") : "Failures, most frequent first:\n" + joinedLines(lines));
}

void showStatus(Run& run, const Arguments& arguments) {
  const station::Ledger ledger = openLedger(arguments);
  const QDateTime since = arguments.has("since") ? timeArgument(arguments, "since") : QDate::currentDate().startOfDay();
  const station::LineStatus status = valueOf(station::statusOf(ledger, since));
  Document document("station-status");
  document.add("since", "Since", since.toUTC().toString(Qt::ISODate), since.toString("yyyy-MM-dd HH:mm"));
  document.add("units", "Units", status.units,
               QStringLiteral("%1 in %2 attempts").arg(status.units).arg(status.attempts));
  document.addQuietly("attempts", status.attempts);
  document.add("passed", "Passed", status.passed);
  addYield(document, status);
  addCycleTime(document, status);
  document.add("open", "Attempts without an end", status.open);
  document.add("scrapped", "Scrapped", status.scrapped);
  document.add("keysTaken", "Keys taken", status.keysTaken,
               QStringLiteral("%1, %2 of them lost").arg(status.keysTaken).arg(status.keysLost));
  document.addQuietly("keysLost", status.keysLost);
  addFailures(document, status);
  run.finish(document);
}

/// An empty one, as of a shell's variable that is not set, must not pass for none.
QString headArgument(const Arguments& arguments) {
  static const QRegularExpression kHead(QRegularExpression::anchoredPattern("[0-9A-Fa-f]{64}"));
  QString head = arguments.text("head");
  if (arguments.has("head") && !kHead.match(head).hasMatch()) {
    throw Failure(ExitCode::kUsage,
                  QStringLiteral("--head takes the 64 hexadecimal digits that verify printed, not \"%1\"").arg(head));
  }
  return head;
}

void verifyStation(Run& run, const Arguments& arguments) {
  const station::Verification found = valueOf(station::verifyLedger(arguments.text("ledger"), headArgument(arguments)));
  Document document("station-verify");
  document.add("ledger", "Ledger", arguments.text("ledger"));
  document.add("rows", "Rows", found.rows);
  document.add("head", "Head", found.head);
  document.add("unchanged", "Unchanged", found.found.isEmpty(), found.found.isEmpty() ? "yes" : "no");
  Value::List list;
  for (const QString& line : found.found) {
    list.emplace_back(line);
  }
  document.addQuietly("found", list);
  document.addText(found.found.join('\n'));
  run.finish(document);
  if (!found.found.isEmpty()) {
    run.setExitCode(ExitCode::kDifference);
  }
}

void showUnit(Run& run, const Arguments& arguments) {
  const QString serial = arguments.text("SERIAL");
  if (serial.isEmpty()) {
    throw Failure(ExitCode::kUsage, "the serial number is empty; name a unit");
  }
  const station::Ledger ledger = openLedger(arguments);
  Document document("station-show");
  document.add("serial", "Serial number", serial);
  Value::List attempts;
  QString lines;
  valueOf(station::eachAttempt(ledger, {serial, {}}, [&](const station::AttemptRecord& attempt) {
    attempts.push_back(attemptValue(attempt));
    lines += '\n' + attemptText(attempt);
  }));
  if (attempts.empty()) {
    throw Failure(ExitCode::kRefused, QStringLiteral("serial number %1 is not in the ledger").arg(serial));
  }
  const station::UnitState unit = valueOf(ledger.unit(serial));
  const char* state = unit.isScrapped ? "scrapped" : unit.openAttempt ? "open" : unit.hasPassed ? "passed" : "failed";
  document.add("state", "State", state);
  document.add("round", "Reworks", unit.round);
  document.add("key", "Key", unit.keySha256.isEmpty() ? Value() : Value(unit.keySha256),
               unit.keySha256.isEmpty() ? QString("none") : unit.keySha256);
  document.addQuietly("attempts", attempts);
  Value::List events;
  for (const station::UnitEvent& event : valueOf(station::eventsOf(ledger, serial))) {
    events.push_back(eventValue(event));
    lines += '\n' + eventText(event);
  }
  document.addQuietly("events", events);
  document.addText(lines.chopped(lines.endsWith('\n') ? 1 : 0));
  run.finish(document);
}

void exportLedger(Run& run, const Arguments& arguments) {
  const bool csv = arguments.has("csv");
  const bool junit = arguments.has("junit");
  const bool json = arguments.has("json") || (run.options().json && !csv && !junit);
  if ((csv ? 1 : 0) + (junit ? 1 : 0) + (json ? 1 : 0) != 1) {
    throw Failure(ExitCode::kUsage, "say one of --csv, --json and --junit");
  }
  const QDateTime since = arguments.has("since") ? timeArgument(arguments, "since") : QDateTime();
  const station::Ledger ledger = openLedger(arguments);
  std::vector<station::AttemptRecord> attempts;
  valueOf(station::eachAttempt(ledger, {{}, since},
                               [&](const station::AttemptRecord& attempt) { attempts.push_back(attempt); }));
  const QByteArray text = csv     ? csvOf(attempts)
                          : junit ? junitOf(attempts)
                                  : exportDocument(attempts).value().json() + '\n';
  if (arguments.has("output")) {
    writeResultFile(arguments.text("output"), text);
  } else {
    run.writeData(text);
  }
}

}  // namespace

std::vector<Command> stationRecordCommands() {
  using Takes = Option::Takes;
  const Option ledger = ledgerOption(true);
  const Option since{"--since", "Only from this day or time on", Takes::kValue, "TIME"};
  return {
      {"status", "Show units, first-pass yield, failures and cycle time of today", {ledger, since}, {}, showStatus},
      {"export",
       "Write out every attempt",
       {ledger,
        {"--csv", "As a table, one line an attempt"},
        {"--json", "As JSON, with all steps"},
        {"--junit", "As test results in JUnit's XML"},
        since,
        {"-o,--output", "Write it there instead of printing it", Takes::kValue, "FILE"}},
       {},
       exportLedger},
      {"verify",
       "Find out whether any row was changed or removed; ends with 11 when one was",
       {ledger, {"--head", "A head that was printed earlier: its row must still be there", Takes::kValue, "SHA256"}},
       {},
       verifyStation},
      {"show",
       "Show all that was done to a unit",
       {{"SERIAL", "Its serial number", Takes::kValue, "", {}, true}, ledger},
       {},
       showUnit},
  };
}

}  // namespace cli
