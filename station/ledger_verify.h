#pragma once

#include "station/ledger_error.h"

#include <QString>
#include <QStringList>
#include <tl/expected.hpp>

#include <cstdint>

namespace station {

/// What a look at each row of a ledger found.
struct Verification {
  std::int64_t rows = 0;
  QString head;       ///< hash of the last row: written down elsewhere, it fixes all rows up to here
  QStringList found;  ///< what is not as it was written, one line each, at most 100; empty = nothing
};

class Database;

/// Checks all rows and the database's structure, but not its tables' definitions.
/// @throws DatabaseError
Verification verifyRows(const Database& database);

/// Reads every row and checks it against its hash, against the row before and
/// against the ledger's head; then the file's own structure.
/// @param head a hash that was written down earlier; it must still be in the chain.
///             Empty = none
tl::expected<Verification, LedgerError> verifyLedger(const QString& path, const QString& head = {});

}  // namespace station
