#pragma once

#include "station/database.h"

#include <QString>

namespace station {

/// A look at the end of a ledger's chain, quick enough for each opening: there are as
/// many rows as the head says, and the last ones follow each other unchanged. Rows far
/// from the end are for `verifyLedger`.
/// @return what is wrong, one clause; empty = nothing
QString mistakeInEnd(const Database& database);

}  // namespace station
