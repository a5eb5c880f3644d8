#include "cli/verb.h"
#include "cli/verbs/station_commands.h"

namespace cli {

Option ledgerOption(bool required) {
  return {"--ledger",
          required ? "The line's ledger" : "The line's ledger (default: beside the job file)",
          Option::Takes::kValue,
          "FILE",
          {},
          required};
}

Failure ledgerFailure(const station::LedgerError& error) {
  using Kind = station::LedgerError::Kind;
  const bool isRule = error.kind == Kind::kRefused || error.kind == Kind::kExhausted;
  return {isRule ? ExitCode::kRefused : ExitCode::kLedger, error.message};
}

QDateTime timeArgument(const Arguments& arguments, const std::string& key) {
  const QString text = arguments.text(key);
  QDateTime time = QDateTime::fromString(text, Qt::ISODateWithMs);
  if (const QDate day = QDate::fromString(text, Qt::ISODate); day.isValid() && text.size() == 10) {
    time = day.startOfDay();
  }
  if (!time.isValid()) {
    throw Failure(ExitCode::kUsage, QStringLiteral("--%1 takes a day or a time such as 2026-01-31 or "
                                                   "2026-01-31T14:30, not \"%2\"")
                                        .arg(QString::fromStdString(key), text));
  }
  return time;
}

Command stationVerb() {
  Command verb{"station", "Work on a production line, and look into its ledger"};
  verb.commands = {stationRunCommand()};
  for (const auto& commands : {stationCheckCommands(), stationRecordCommands()}) {
    verb.commands.insert(verb.commands.end(), commands.begin(), commands.end());
  }
  return verb;
}

}  // namespace cli
