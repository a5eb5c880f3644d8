#include "station/database.h"

#include <QFileInfo>
#include <QUrl>

#include <cstddef>
#include <sqlite3.h>

namespace station {
namespace {

constexpr int kBusyMilliseconds = 20'000;
/// More than any row of a ledger holds: a file that claims to hold more is none.
constexpr int kMostBytes = 16 * 1024 * 1024;

[[noreturn]] void fail(sqlite3* database, int code) {
  const int extended = database != nullptr ? sqlite3_extended_errcode(database) : code;
  const char* text = database != nullptr ? sqlite3_errmsg(database) : sqlite3_errstr(code);
  throw DatabaseError(extended == SQLITE_OK ? code : extended, QString::fromUtf8(text));
}

int bindValue(sqlite3_stmt* statement, int index, const SqlValue& value) {
  if (const auto* number = std::get_if<std::int64_t>(&value)) {
    return sqlite3_bind_int64(statement, index, *number);
  }
  if (const auto* real = std::get_if<double>(&value)) {
    return sqlite3_bind_double(statement, index, *real);
  }
  if (const auto* text = std::get_if<std::string>(&value)) {
    return sqlite3_bind_text64(statement, index, text->data(), text->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  }
  if (const auto* blob = std::get_if<Blob>(&value)) {
    return sqlite3_bind_blob64(statement, index, blob->data(), blob->size(), SQLITE_TRANSIENT);
  }
  return sqlite3_bind_null(statement, index);
}

int openFlags(Database::Access access) {
  switch (access) {
    case Database::Access::kRead:
      return SQLITE_OPEN_READONLY;
    case Database::Access::kWrite:
      return SQLITE_OPEN_READWRITE;
    case Database::Access::kCreate:
      return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  }
  return SQLITE_OPEN_READONLY;
}

}  // namespace

SqlValue sqlText(const QString& text) { return text.toStdString(); }

SqlValue sqlTextOrNull(const QString& text) { return text.isEmpty() ? SqlValue() : sqlText(text); }

Statement::Statement(sqlite3* database, const std::string& sql) : database_(database) {
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v2(database, sql.c_str(), static_cast<int>(sql.size()), &statement, nullptr);
  statement_.reset(statement);
  if (code != SQLITE_OK) {
    fail(database, code);
  }
}

void Statement::Finalize::operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }

Statement& Statement::with(const std::vector<SqlValue>& values) {
  sqlite3_reset(statement_.get());
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (const int code = bindValue(statement_.get(), static_cast<int>(i) + 1, values[i]); code != SQLITE_OK) {
      fail(database_, code);
    }
  }
  return *this;
}

bool Statement::next() {
  const int code = sqlite3_step(statement_.get());
  if (code != SQLITE_ROW && code != SQLITE_DONE) {
    fail(database_, code);
  }
  return code == SQLITE_ROW;
}

int Statement::columns() const { return sqlite3_column_count(statement_.get()); }

std::string Statement::columnName(int column) const { return sqlite3_column_name(statement_.get(), column); }

SqlValue Statement::value(int column) const {
  sqlite3_stmt* row = statement_.get();
  switch (sqlite3_column_type(row, column)) {
    case SQLITE_INTEGER:
      return std::int64_t{sqlite3_column_int64(row, column)};
    case SQLITE_FLOAT:
      return sqlite3_column_double(row, column);
    case SQLITE_TEXT: {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
      return std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(row, column)));
    }
    case SQLITE_BLOB: {
      const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(row, column));
      return bytes == nullptr ? Blob() : Blob(bytes, bytes + sqlite3_column_bytes(row, column));
    }
    default:
      return {};
  }
}

QString Statement::text(int column) const {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
  return QString::fromUtf8(text, sqlite3_column_bytes(statement_.get(), column));
}

std::int64_t Statement::number(int column) const { return sqlite3_column_int64(statement_.get(), column); }

bool Statement::isNull(int column) const { return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL; }

Database::Database(const QString& path, Access access) {
  // A read-only file in a folder where nothing can be made: SQLite needs no log
  // beside it as long as it may take the file for one that nobody changes.
  const bool isArchive = access == Access::kRead && !QFileInfo(QFileInfo(path).path()).isWritable() &&
                         !QFileInfo(path).isWritable() && !QFileInfo::exists(path + QStringLiteral("-wal"));
  const QByteArray name = isArchive ? QUrl::fromLocalFile(path).toEncoded() + "?immutable=1" : path.toUtf8();
  sqlite3* handle = nullptr;
  const int code =
      sqlite3_open_v2(name.constData(), &handle,
                      openFlags(access) | (isArchive ? SQLITE_OPEN_URI : 0) | SQLITE_OPEN_EXRESCODE, nullptr);
  handle_.reset(handle);
  if (code != SQLITE_OK) {
    fail(handle, code);
  }
  sqlite3_busy_timeout(handle, kBusyMilliseconds);
  sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, kMostBytes);
  // Only our own triggers and checks in the file are executed.
  sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  // The log may be that of another copy, which would damage this one.
  sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, access == Access::kWrite ? 1 : 0, nullptr);
  run("PRAGMA foreign_keys = ON");
  run("PRAGMA synchronous = FULL");
}

void Database::Close::operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }

void Database::run(const std::string& sql) const {
  const int code = sqlite3_exec(handle_.get(), sql.c_str(), nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) {
    fail(handle_.get(), code);
  }
}

void Database::run(const std::string& sql, const std::vector<SqlValue>& values) const {
  Statement statement = prepare(sql);
  statement.with(values);
  while (statement.next()) {
  }
}

std::int64_t Database::number(const std::string& sql, const std::vector<SqlValue>& values) const {
  Statement statement = prepare(sql);
  return statement.with(values).next() ? statement.number(0) : 0;
}

bool Database::hasMoved() const {
  int moved = 0;
  return sqlite3_file_control(handle_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK && moved != 0;
}

bool Database::isReadOnly() const { return sqlite3_db_readonly(handle_.get(), "main") == 1; }

void Database::mergeLogAtClose() const {
  sqlite3_db_config(handle_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
}

void Database::copyTo(const Database& target) const {
  sqlite3_backup* backup = sqlite3_backup_init(target.handle(), "main", handle_.get(), "main");
  if (backup == nullptr) {
    fail(target.handle(), SQLITE_ERROR);
  }
  const int code = sqlite3_backup_step(backup, -1);
  sqlite3_backup_finish(backup);
  if (code != SQLITE_DONE) {
    throw DatabaseError(code, QString::fromUtf8(sqlite3_errstr(code)));
  }
}

Transaction::Transaction(Database& database) : database_(database) { database_.run("BEGIN IMMEDIATE"); }

Transaction::~Transaction() {
  if (isOpen_) {
    // It may have ended by itself, which SQLite does when the disk is full.
    sqlite3_exec(database_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

void Transaction::commit() {
  database_.run("COMMIT");
  isOpen_ = false;
}

}  // namespace station
