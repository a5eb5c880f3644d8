#pragma once

#include <QString>

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

/// SQLite as the ledger uses it. Errors are exceptions here and nowhere else: the
/// ledger turns them into results.
namespace station {

/// What SQLite reports.
struct DatabaseError : std::exception {
  DatabaseError(int extendedCode, QString text) : code(extendedCode), message(std::move(text)) {}

  int code;  ///< SQLite's extended result code
  QString message;

  const char* what() const noexcept override { return "the database reports an error"; }
};

using Blob = std::vector<std::uint8_t>;
/// A value of a row: NULL, INTEGER, REAL, TEXT (its bytes as they are), BLOB.
using SqlValue = std::variant<std::monostate, std::int64_t, double, std::string, Blob>;

/// Text for a statement, as UTF-8.
SqlValue sqlText(const QString& text);
/// The same; empty text becomes NULL.
SqlValue sqlTextOrNull(const QString& text);

/// One statement, reset when it is bound again. Its database must outlive it.
class Statement {
 public:
  Statement(sqlite3* database, const std::string& sql);

  /// Binds all parameters in order and starts from the beginning.
  /// @throws DatabaseError, also for a value larger than any row of a ledger
  Statement& with(const std::vector<SqlValue>& values);
  /// Goes to the next row.
  /// @return false after the last one
  bool next();

  int columns() const;
  std::string columnName(int column) const;
  SqlValue value(int column) const;
  QString text(int column) const;
  std::int64_t number(int column) const;
  bool isNull(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  sqlite3* database_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

/// One connection. Used by one thread at a time.
class Database {
 public:
  enum class Access : std::uint8_t {
    kRead,
    kWrite,   ///< the file must be there; closing it leaves its log alone at first
    kCreate,  ///< makes it when it is not
  };
  /// @throws DatabaseError
  Database(const QString& path, Access access);

  /// Runs statements that give no rows.
  void run(const std::string& sql) const;
  /// Runs one statement with values to its end.
  void run(const std::string& sql, const std::vector<SqlValue>& values) const;
  Statement prepare(const std::string& sql) const { return {handle_.get(), sql}; }
  /// The first column of the first row, or 0.
  std::int64_t number(const std::string& sql, const std::vector<SqlValue>& values = {}) const;

  /// Whether the file is no longer where it was opened.
  bool hasMoved() const;
  /// Whether nothing can be written, although `kWrite` was asked for.
  bool isReadOnly() const;
  /// From now on the last connection to close moves what the write-ahead log holds into
  /// the file, if that was opened with `kWrite`.
  void mergeLogAtClose() const;
  /// Copies everything into another database, which must be empty.
  void copyTo(const Database& target) const;
  sqlite3* handle() const { return handle_.get(); }

 private:
  struct Close {
    void operator()(sqlite3* handle) const;
  };
  std::unique_ptr<sqlite3, Close> handle_;
};

/// A write transaction; rolled back unless committed.
class Transaction {
 public:
  explicit Transaction(Database& database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit();

 private:
  Database& database_;
  bool isOpen_ = true;
};

}  // namespace station
