#pragma once

#include "station/ledger.h"
#include "station/unit_files.h"
#include "station/unit_steps.h"
#include "station/unit_watch.h"

#include <QStringList>
#include <tl/expected.hpp>

#include <optional>

namespace station {

/// Reads what the job compares and checks it against the wanted values.
/// @param found receives what was read, for the record
/// @return what is not as wanted, one clause each
QStringList compareUnit(const Job& job, const UnitFiles& files, const QString& serial, Facts* found);

/// Why a unit is not processed.
struct NotAdmitted {
  QString reason;  ///< one clause without a full stop
  std::optional<LedgerError> ledgerError = {};
};

/// Whether the unit that is plugged in may be processed, and under which serial
/// number: the one scanned; for a job with a list or a counter the one it carries
/// already, if the ledger knows it, else empty (the ledger takes the next one).
/// @param start its `serial` as scanned, or empty
/// @return the start to begin the attempt with; a unit that has passed gets a further
///         round, where the job allows that
tl::expected<AttemptStart, NotAdmitted> admit(const Job& job, const Ledger& ledger, const Identity& identity,
                                              AttemptStart start);

}  // namespace station
