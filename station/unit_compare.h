#pragma once

#include "station/ledger.h"
#include "station/unit_files.h"
#include "station/unit_steps.h"

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
/// Begins a further round in the ledger for a unit that has passed, where the job
/// allows that.
tl::expected<QString, NotAdmitted> admit(const Job& job, Ledger& ledger, const Identity& identity,
                                         const AttemptStart& start);

}  // namespace station
