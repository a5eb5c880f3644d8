#include "station/ledger_end.h"

#include "station/chain.h"
#include "station/ledger_schema.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace station {
namespace {

/// More than the rows of a unit.
constexpr std::int64_t kLastRows = 40;

/// Finds rows by their number, whichever table has them.
class RowFinder {
 public:
  explicit RowFinder(const Database& database) {
    for (const std::string_view table : chainedTables()) {
      names_.emplace_back(table);
      rows_.push_back(database.prepare("SELECT * FROM " + names_.back() + " WHERE seq = ?"));
    }
  }

  /// @return whether there is such a row, with this hash and unchanged
  bool find(std::int64_t seq, const SqlValue& hash) {
    for (std::size_t table = 0; table < rows_.size(); ++table) {
      Statement& row = rows_[table].with({seq});
      if (row.next()) {
        columns_.clear();
        for (int i = 0; i < row.columns(); ++i) {
          columns_.emplace_back(row.columnName(i), row.value(i));
        }
        return column("hash") == hash && hash == SqlValue(rowHash(names_[table], columns_));
      }
    }
    return false;
  }

  /// A value of the row found last.
  SqlValue column(const std::string& name) const {
    const auto found =
        std::find_if(columns_.begin(), columns_.end(), [&name](const auto& column) { return column.first == name; });
    return found == columns_.end() ? SqlValue() : found->second;
  }

 private:
  std::vector<std::string> names_;
  std::vector<Statement> rows_;
  Columns columns_;
};

/// The numbers 1, 2, ... give this sum, so that no two gaps and doubles make up for each other.
struct Numbers {
  std::int64_t count = 0;
  std::int64_t sum = 0;
};

Numbers numbersOf(const Database& database) {
  Numbers numbers;
  for (const std::string_view table : chainedTables()) {
    Statement row = database.prepare("SELECT count(*), coalesce(sum(seq), 0) FROM " + std::string(table));
    if (row.next()) {
      numbers.count += row.number(0);
      numbers.sum += row.number(1);
    }
  }
  return numbers;
}

}  // namespace

QString mistakeInEnd(const Database& database) {
  // As long as this statement is open, all others see the same moment.
  Statement head = database.prepare("SELECT seq, hash FROM head");
  if (!head.next()) {
    return QStringLiteral("the head of its chain is missing");
  }
  const std::int64_t last = head.number(0);
  const Numbers numbers = numbersOf(database);
  if (numbers.count != last || numbers.sum != last * (last + 1) / 2) {
    return QStringLiteral("it has %1 rows, but its head counts %2").arg(numbers.count).arg(last);
  }
  SqlValue hash = head.value(1);
  RowFinder row(database);
  for (std::int64_t seq = last; seq > std::max<std::int64_t>(0, last - kLastRows); --seq) {
    if (!row.find(seq, hash)) {
      return QStringLiteral("row %1 is missing or was changed").arg(seq);
    }
    hash = row.column("before");
  }
  return {};
}

}  // namespace station
