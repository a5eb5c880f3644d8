#include "station/ledger_verify.h"

#include "station/chain.h"
#include "station/ledger_open.h"

#include <QFileInfo>

#include <optional>

namespace station {
namespace {

constexpr int kMostFindings = 100;

QString hexOf(const SqlValue& value) {
  const auto* bytes = std::get_if<Blob>(&value);
  return bytes == nullptr
             ? QString()
             : QString::fromLatin1(
                   QByteArray(reinterpret_cast<const char*>(bytes->data()), static_cast<int>(bytes->size())).toHex());
}

/// A table read row by row, in the order of the chain.
struct Reader {
  Reader(const Database& database, std::string_view name)
      : table(name), rows(database.prepare("SELECT * FROM " + table + " ORDER BY seq")) {
    step();
  }

  void step() {
    columns.reset();
    if (!rows.next()) {
      return;
    }
    columns.emplace();
    for (int i = 0; i < rows.columns(); ++i) {
      columns->emplace_back(rows.columnName(i), rows.value(i));
    }
  }

  SqlValue column(const std::string& name) const {
    for (const auto& [column, value] : *columns) {
      if (column == name) {
        return value;
      }
    }
    return {};
  }
  std::int64_t seq() const {
    const SqlValue value = column("seq");
    const auto* number = std::get_if<std::int64_t>(&value);
    return number == nullptr ? 0 : *number;
  }

  std::string table;
  Statement rows;
  std::optional<Columns> columns;  // none behind the last row
};

/// One walk along the chain.
class ChainWalk {
 public:
  ChainWalk(const Database& database, QString head)
      : database_(database), wanted_(std::move(head)), isWantedThere_(wanted_ == hexOf(before_)) {}

  Verification walk();
  Verification walkRows();

 private:
  void find(const QString& text) {
    if (verification_.found.size() < kMostFindings) {
      verification_.found << text;
    }
  }
  void check(const Reader& reader);
  void checkEnd();
  void checkStructure();
  void checkDatabase();

  const Database& database_;
  SqlValue before_ = Blob(32);  // the head of a ledger without rows
  QString wanted_;
  bool isWantedThere_;
  std::int64_t last_ = 0;
  Verification verification_;
};

void ChainWalk::check(const Reader& reader) {
  const std::int64_t seq = reader.seq();
  const QString row = QStringLiteral("row %1 (%2)").arg(seq).arg(QString::fromStdString(reader.table));
  if (seq == last_) {
    find(QStringLiteral("%1: there are two of that number").arg(row));
  } else if (seq != last_ + 1) {
    find(QStringLiteral("rows %1 to %2 were removed").arg(last_ + 1).arg(seq - 1));
  }
  // Behind a gap the hash before is not known.
  if (seq == last_ + 1 && reader.column("before") != before_) {
    find(QStringLiteral("%1 does not follow the row before").arg(row));
  }
  const SqlValue hash = reader.column("hash");
  if (hash != SqlValue(rowHash(reader.table, *reader.columns))) {
    find(QStringLiteral("%1 was changed").arg(row));
  }
  isWantedThere_ = isWantedThere_ || hexOf(hash) == wanted_;
  before_ = hash;
  last_ = seq;
  ++verification_.rows;
}

void ChainWalk::checkEnd() {
  Statement head = database_.prepare("SELECT only, seq, hash FROM head");
  if (!head.next()) {
    find(QStringLiteral("the head of the chain was removed"));
  } else if (head.number(0) != 1 || head.value(1) != SqlValue(last_) || head.value(2) != before_) {
    find(QStringLiteral("the chain ends with row %1, its head says %2: rows were removed or changed")
             .arg(last_)
             .arg(head.number(1)));
  } else if (head.next()) {
    find(QStringLiteral("the chain has two heads"));
  }
  if (!wanted_.isEmpty() && !isWantedThere_) {
    find(QStringLiteral("no row has the hash %1: the ledger was made anew since").arg(wanted_));
  }
  verification_.head = hexOf(before_);
}

void ChainWalk::checkStructure() {
  if (structureOf(database_) != presentStructure()) {
    find(QStringLiteral("tables or rules are not those that the program makes"));
  }
}

void ChainWalk::checkDatabase() {
  for (const char* check : {"PRAGMA integrity_check(20)", "PRAGMA foreign_key_check"}) {
    Statement rows = database_.prepare(check);
    while (rows.next()) {
      if (rows.text(0) != QLatin1String("ok")) {
        find(QStringLiteral("the database finds: %1").arg(rows.text(0)));
      }
    }
  }
}

Verification ChainWalk::walk() {
  walkRows();
  checkStructure();
  return verification_;
}

Verification ChainWalk::walkRows() {
  std::vector<Reader> readers;
  for (const std::string_view table : chainedTables()) {
    readers.emplace_back(database_, table);
  }
  for (;;) {
    Reader* next = nullptr;
    for (Reader& reader : readers) {
      if (reader.columns && (next == nullptr || reader.seq() < next->seq())) {
        next = &reader;
      }
    }
    if (next == nullptr) {
      break;
    }
    check(*next);
    next->step();
  }
  checkEnd();
  checkDatabase();
  return verification_;
}

}  // namespace

Verification verifyRows(const Database& database) {
  // All of it as it was at one moment, whoever adds rows meanwhile.
  database.run("BEGIN");
  Verification verification = ChainWalk(database, {}).walkRows();
  database.run("COMMIT");
  return verification;
}

tl::expected<Verification, LedgerError> verifyLedger(const QString& path, const QString& head) {
  const QString absolute = QFileInfo(path).absoluteFilePath();
  return guarded(absolute, {}, [&] {
    OpenedLedger opened = openLedger(absolute, LedgerAccess::kRead);
    // All of it as it was at one moment, whoever adds rows meanwhile.
    opened.database.run("BEGIN");
    return ChainWalk(opened.database, head.toLower()).walk();
  });
}

}  // namespace station
