#pragma once

#include "cli/command.h"
#include "cli/failure.h"
#include "station/ledger.h"

#include <vector>

namespace cli {

/// The parts of the verb station.
Command stationRunCommand();
std::vector<Command> stationCheckCommands();   ///< check
std::vector<Command> stationRecordCommands();  ///< status, export, verify, show

/// The option --ledger.
Option ledgerOption(bool required);

/// What ends a command that the ledger refused.
Failure ledgerFailure(const station::LedgerError& error);

/// The value of what the ledger was asked for.
/// @throws Failure
template <typename T>
T valueOf(station::LedgerResult<T> result) {
  if (!result) {
    throw ledgerFailure(result.error());
  }
  if constexpr (!std::is_void_v<T>) {
    return *std::move(result);
  }
}

/// A point in time that an option gives: a day (from its midnight here) or a time,
/// ISO 8601; one without a zone is local.
/// @throws Failure (usage)
QDateTime timeArgument(const Arguments& arguments, const std::string& key);

}  // namespace cli
