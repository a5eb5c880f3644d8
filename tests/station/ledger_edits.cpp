// Edits a ledger's database directly and checks that each edit is detected:
//   station_ledger_edits STEP [SEED]
// Changes every STEP-th byte of every column of every row, removes every row, and changes
// 3000 / STEP random bytes of the file.
#include "station/chain.h"
#include "station/ledger_schema.h"
#include "station/ledger_verify.h"
#include "tests/station/station_bench.h"

#include <cstdio>
#include <random>
#include <sqlite3.h>

using namespace station;

namespace {

struct Counts {
  int edits = 0;
  int missed = 0;
};

bool isFound(const QString& path) {
  const auto found = verifyLedger(path);
  return !found.has_value() || !found->found.isEmpty();
}

/// A few units with everything that a ledger can hold.
void fill(const StationBench& bench) {
  bench.makeKeys(4);
  Ledger ledger = bench.open();
  const Job job = bench.job(R"({"from": "count", "prefix": "L", "digits": 3})");
  for (int i = 0; i < 3; ++i) {
    const Attempt attempt = StationBench::must(ledger.begin(job, StationBench::start()));
    StationBench::must(ledger.takeKey(attempt.id, job.keyFolder));
    StationBench::must(
        ledger.addStep(attempt.id, {"key", StepOutcome::kFailed, "reported", "why", 2, {}, {{"a", "b"}}}));
    const UnitResult result = i == 0 ? UnitResult::kPass : UnitResult::kFail;
    StationBench::must(ledger.end(attempt.id, {result, "why", {{"a", "b"}}, {{"a", "c"}}, {}}));
  }
  StationBench::must(ledger.rework("L001", "Ann", "scratched"));
  StationBench::must(ledger.scrap("L002", "Ann", "broken"));
}

/// A connection without the ledger's rules.
Database freeConnection(const QString& path) {
  Database database(path, Database::Access::kWrite);
  sqlite3_db_config(database.handle(), SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  database.run("PRAGMA foreign_keys = OFF");
  database.run("PRAGMA synchronous = OFF");
  database.run("PRAGMA ignore_check_constraints = ON");
  return database;
}

/// Other values to put in place of this one.
std::vector<SqlValue> othersThan(const SqlValue& value, std::size_t step) {
  std::vector<SqlValue> others;
  if (const auto* number = std::get_if<std::int64_t>(&value)) {
    return {*number + 1, *number - 1, *number ^ (std::int64_t{1} << 40U)};
  }
  if (const auto* text = std::get_if<std::string>(&value)) {
    for (std::size_t i = 0; i < text->size(); i += step) {
      std::string other = *text;
      other[i] = static_cast<char>(other[i] ^ 1);
      others.emplace_back(other);
    }
    others.emplace_back(*text + " ");
    others.emplace_back(std::string());
  } else if (const auto* blob = std::get_if<Blob>(&value)) {
    for (std::size_t i = 0; i < blob->size(); i += step) {
      Blob other = *blob;
      other[i] ^= 1;
      others.emplace_back(other);
    }
    others.emplace_back(Blob());
  } else {
    others.emplace_back(std::string("x"));
    others.emplace_back(std::int64_t{0});
  }
  others.emplace_back(std::monostate());
  return others;
}

/// @return whether the database took it
bool set(Database& database, const std::string& table, const std::string& column, std::int64_t row,
         const SqlValue& value) {
  try {
    database.run("UPDATE " + table + " SET " + column + " = ? WHERE rowid = ?", {value, row});
    return true;
  } catch (const DatabaseError&) {
    return false;  // a remaining constraint: NOT NULL, a type, a unique value
  }
}

void editColumn(Database& database, const QString& path, const std::string& table, const std::string& column,
                std::size_t step, Counts& counts) {
  std::vector<std::pair<std::int64_t, SqlValue>> values;
  Statement rows = database.prepare("SELECT rowid, " + column + " FROM " + table);
  while (rows.next()) {
    values.emplace_back(rows.number(0), rows.value(1));
  }
  const bool isKey = column == (table == "head" ? "only" : "seq");
  for (const auto& [row, value] : values) {
    for (const SqlValue& other : othersThan(value, step)) {
      if (other == value || !set(database, table, column, row, other)) {
        continue;
      }
      ++counts.edits;
      if (!isFound(path)) {
        ++counts.missed;
        std::printf("not found: %s.%s of row %lld\n", table.c_str(), column.c_str(), static_cast<long long>(row));
      }
      const auto* moved = std::get_if<std::int64_t>(&other);
      if (!set(database, table, column, isKey && moved != nullptr ? *moved : row, value)) {
        std::printf("cannot put back %s.%s\n", table.c_str(), column.c_str());
        ++counts.missed;
      }
    }
  }
}

std::vector<std::string> columnsOf(const Database& database, const std::string& table) {
  const Statement rows = database.prepare("SELECT * FROM " + table);
  std::vector<std::string> names;
  for (int i = 0; i < rows.columns(); ++i) {
    names.push_back(rows.columnName(i));
  }
  return names;
}

void editAll(const QString& path, std::size_t step, Counts& counts) {
  Database database = freeConnection(path);
  std::vector<std::string> tables(chainedTables().begin(), chainedTables().end());
  tables.emplace_back("head");
  for (const std::string& table : tables) {
    for (const std::string& column : columnsOf(database, table)) {
      editColumn(database, path, table, column, step, counts);
      if (isFound(path)) {
        // Later findings might be due to this.
        std::printf("edits of %s.%s were not undone\n", table.c_str(), column.c_str());
        ++counts.missed;
        return;
      }
    }
  }
}

void removeRows(const QString& path, Counts& counts) {
  Database database = freeConnection(path);
  std::vector<std::string> tables(chainedTables().begin(), chainedTables().end());
  tables.emplace_back("head");
  for (const std::string& table : tables) {
    database.run("CREATE TEMP TABLE kept AS SELECT * FROM " + table);
    for (std::int64_t row = 1; row <= database.number("SELECT max(rowid) FROM " + table); ++row) {
      database.run("DELETE FROM " + table + " WHERE rowid = ?", {row});
      if (database.number("SELECT changes()") == 0) {
        continue;
      }
      ++counts.edits;
      if (!isFound(path)) {
        ++counts.missed;
        std::printf("not found: row %lld of %s was removed\n", static_cast<long long>(row), table.c_str());
      }
      database.run("INSERT OR IGNORE INTO " + table + " SELECT * FROM kept");
    }
    database.run("DROP TABLE kept");
  }
}

/// The content of all rows; nothing if they cannot be read.
std::string rowsOf(const QString& path) {
  try {
    const Database database(path, Database::Access::kRead);
    std::string content;
    std::vector<std::string> tables(chainedTables().begin(), chainedTables().end());
    tables.emplace_back("head");
    for (const std::string& table : tables) {
      Statement rows = database.prepare("SELECT * FROM " + table + " ORDER BY 1");
      while (rows.next()) {
        Columns columns;
        for (int i = 0; i < rows.columns(); ++i) {
          columns.emplace_back(rows.columnName(i) + '_', rows.value(i));
        }
        const Blob hash = rowHash(table, columns);
        content.append(hash.begin(), hash.end());
      }
    }
    return content;
  } catch (const DatabaseError&) {
    return {};
  }
}

/// Changes bytes of the file itself. Some belong to no row: free space, page headers.
void editFile(const StationBench& bench, int count, unsigned seed, Counts& counts) {
  QFile file(bench.ledgerPath());
  if (!file.open(QIODevice::ReadOnly)) {
    qFatal("cannot read the ledger");
  }
  const QByteArray whole = file.readAll();
  const std::string content = rowsOf(bench.ledgerPath());
  std::mt19937 random(seed);
  for (int i = 0; i < count; ++i) {
    QByteArray bytes = whole;
    const auto at = static_cast<int>(random() % static_cast<unsigned>(bytes.size()));
    bytes[at] = static_cast<char>(bytes[at] ^ (1 << (random() % 8)));
    const QString path = bench.write("edited.ledger", bytes);
    const bool isChanged = rowsOf(path) != content;
    const bool found = isFound(path);
    counts.edits += isChanged ? 1 : 0;
    if (isChanged && !found) {
      ++counts.missed;
      std::printf("not found: byte %d of the file\n", at);
    }
    QFile::remove(path + "-wal");
    QFile::remove(path + "-shm");
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs("Usage: station_ledger_edits STEP [SEED]\n", stderr);
    return 2;
  }
  const int step = std::max(1, QByteArray(argv[1]).toInt());
  const unsigned seed = argc > 2 ? QByteArray(argv[2]).toUInt() : 1;
  const StationBench bench;
  fill(bench);
  if (isFound(bench.ledgerPath())) {
    std::puts("the ledger is not whole before any edit");
    return 1;
  }
  Counts counts;
  editFile(bench, 3000 / step, seed, counts);
  editAll(bench.ledgerPath(), static_cast<std::size_t>(step), counts);
  removeRows(bench.ledgerPath(), counts);
  if (isFound(bench.ledgerPath())) {
    std::puts("the ledger is not whole after all edits were undone");
    std::puts(qPrintable(verifyLedger(bench.ledgerPath())->found.join('\n')));
    return 1;
  }
  std::printf("%d edits, %d not found\n", counts.edits, counts.missed);
  return counts.missed == 0 && counts.edits > 300 ? 0 : 1;
}
