#pragma once

#include "station/database.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// How the rows of a ledger hang together.
namespace station {

/// Names of columns and what they hold.
using Columns = std::vector<std::pair<std::string, SqlValue>>;

/// SHA-256 over a row: the table's name and all its columns but "hash", as a CBOR map.
/// NULL counts as not being there, so that later formats may add columns.
Blob rowHash(const std::string& table, const Columns& columns);

/// Adds a row behind the last one, with its place in the chain and its hash. Within a
/// transaction.
/// @return its place, from 1
std::int64_t appendRow(Database& database, const std::string& table, Columns columns);

}  // namespace station
