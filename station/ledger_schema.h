#pragma once

#include "station/database.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The tables of a ledger and the rules that the database itself holds.
namespace station {

/// Marks a SQLite file as a ledger ("PVLX").
inline constexpr int kLedgerApplicationId = 0x50564C58;
/// The format that `createLedgerTables` makes; each migration leads to the next.
inline constexpr int kFirstLedgerFormat = 1;

/// What makes the next format of one: run within a transaction.
struct Migration {
  int from = 0;     ///< leads from this format to the next
  std::string sql;  ///< may add tables and columns that may be NULL: hashes of rows stay
};

/// All migrations there have been; none yet.
std::span<const Migration> migrations();

/// The tables whose rows form the chain.
std::span<const std::string_view> chainedTables();

/// Makes an empty ledger of a new database, within a transaction of the caller's.
void createLedgerTables(Database& database);

/// Names and definitions of all tables, indices and triggers, sorted.
std::vector<std::string> structureOf(const Database& database);

}  // namespace station
