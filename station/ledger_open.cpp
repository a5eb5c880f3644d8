#include "station/ledger_open.h"

#include "station/ledger_end.h"
#include "station/ledger_verify.h"
#include "station/new_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QThread>
#include <QUuid>

#include <algorithm>
#include <chrono>
#include <sqlite3.h>

namespace station {
namespace {

using Kind = LedgerError::Kind;

[[noreturn]] void refuse(Kind kind, const QString& message) { throw LedgerFailure(kind, message); }

void runMigrations(Database& database, std::span<const Migration> steps, int format) {
  for (const Migration& step : steps) {
    if (step.from >= format) {
      database.run(step.sql);
      database.run("PRAGMA user_version = " + std::to_string(step.from + 1));
    }
  }
}

void createTables(Database& database, std::span<const Migration> steps) {
  Transaction transaction(database);
  createLedgerTables(database);
  runMigrations(database, steps, kFirstLedgerFormat);
  transaction.commit();
}

QString logOf(const QString& path) { return path + QStringLiteral("-wal"); }

/// Drafts that a crash left behind. Once the ledger is there, nobody needs one: who
/// still works on one finds the name taken.
void removeDrafts(const QString& path) {
  const QFileInfo ledger(path);
  const QRegularExpression draft(QRegularExpression::anchoredPattern(
      QRegularExpression::escape(ledger.fileName()) + QStringLiteral("\\.new-[0-9a-f]{32}(-journal|-wal|-shm)?")));
  QDir folder = ledger.dir();
  for (const QString& name : folder.entryList(QDir::Files | QDir::Hidden)) {
    if (draft.match(name).hasMatch()) {
      folder.remove(name);
    }
  }
}

/// Makes the file under another name first: there is a whole ledger, or none.
/// @return false when somebody else made one meanwhile
bool createFile(const QString& path, std::span<const Migration> steps) {
  const QString draft = path + QStringLiteral(".new-") + QUuid::createUuid().toString(QUuid::Id128);
  try {
    {
      Database database(draft, Database::Access::kCreate);
      createTables(database, steps);
      database.run("PRAGMA journal_mode = WAL");
    }
    if (giveName(draft, path)) {
      removeDrafts(path);
      return true;
    }
  } catch (const DatabaseError&) {
    QFile::remove(draft);
    if (!QFileInfo::exists(path)) {
      throw;
    }
    return false;  // somebody was quicker, and removed the draft
  }
  QFile::remove(draft);
  if (!QFileInfo::exists(path)) {
    refuse(Kind::kReadOnly, QStringLiteral("cannot make the ledger %1").arg(path));
  }
  return false;
}

int formatOf(const Database& database, const QString& path, int present) {
  if (database.number("PRAGMA application_id") != kLedgerApplicationId) {
    refuse(Kind::kNoLedger, QStringLiteral("%1 is no ledger of a station").arg(path));
  }
  const auto format = static_cast<int>(database.number("PRAGMA user_version"));
  if (format > present) {
    refuse(Kind::kNewer,
           QStringLiteral("the ledger %1 is of format %2, newer than %3, which this program knows; use a newer program")
               .arg(path)
               .arg(format)
               .arg(present));
  }
  if (format < kFirstLedgerFormat) {
    refuse(Kind::kDamaged, QStringLiteral("the ledger %1 is of format %2, which never was").arg(path).arg(format));
  }
  return format;
}

/// Copies the ledger beside itself, whole or not at all.
QString keepCopy(const Database& database, const QString& path, int format) {
  QString copy = QStringLiteral("%1.format-%2").arg(path).arg(format);
  for (int i = 2; QFileInfo::exists(copy); ++i) {
    copy = QStringLiteral("%1.format-%2-%3").arg(path).arg(format).arg(i);
  }
  try {
    const Database target(copy, Database::Access::kCreate);
    database.copyTo(target);
  } catch (const DatabaseError&) {
    QFile::remove(copy);
    throw;
  }
  return copy;
}

/// @return the copy that was kept
QString migrate(Database& database, const QString& path, std::span<const Migration> steps, int format) {
  for (;;) {
    const std::int64_t rows = database.number("SELECT seq FROM head");
    QString copy = keepCopy(database, path, format);
    Transaction transaction(database);
    if (database.number("PRAGMA user_version") != format) {
      QFile::remove(copy);  // another process was quicker
      return {};
    }
    if (database.number("SELECT seq FROM head") == rows) {
      runMigrations(database, steps, format);
      transaction.commit();
      return copy;
    }
    QFile::remove(copy);  // rows came after it was made
  }
}

/// SQLite does not wait by itself when two connections switch at once.
void useWriteAheadLog(Database& database) {
  constexpr int kAttempts = 200;
  for (int i = 1;; ++i) {
    try {
      database.run("PRAGMA journal_mode = WAL");
      return;
    } catch (const DatabaseError& error) {
      if ((error.code & 0xFF) != SQLITE_BUSY || i == kAttempts) {
        throw;
      }
      QThread::msleep(50);
    }
  }
}

/// While another process gives the file its name, Windows lets nobody else write.
Database openForWriting(const QString& path) {
  constexpr int kAttempts = 10;
  for (int i = 1;; ++i) {
    Database database(path, Database::Access::kWrite);
    if (!database.isReadOnly() || i == kAttempts || !QFileInfo(path).isWritable()) {
      return database;
    }
    QThread::msleep(50);
  }
}

/// What a crash left beside a ledger that is not there; empty = nothing. SQLite would
/// take it for a part of the file that is made in the ledger's place.
QString partLeftOf(const QString& path) {
  for (const QString& part : {logOf(path), path + QStringLiteral("-journal")}) {
    // Readers leave an empty log. When somebody else makes the ledger, its log comes
    // after it.
    if (QFileInfo(part).size() > 0 && !QFileInfo::exists(path)) {
      return part;
    }
  }
  return {};
}

void requireNoPart(const QString& path) {
  if (const QString part = partLeftOf(path); !part.isEmpty()) {
    refuse(Kind::kMissing,
           QStringLiteral("there is no ledger %1, but %2, a part of one: put the ledger back beside it, "
                          "or move it to where the ledger is now")
               .arg(path, part));
  }
}

void requireLedgerFile(const QString& path) {
  const QFileInfo file(path);
  if (!file.exists()) {
    requireNoPart(path);
    refuse(Kind::kMissing, QStringLiteral("there is no ledger %1").arg(path));
  }
  if (!file.isFile()) {
    refuse(Kind::kNoLedger, QStringLiteral("%1 is no file").arg(path));
  }
  if (file.size() == 0) {
    refuse(Kind::kNoLedger, QStringLiteral("%1 is empty, no ledger; remove it to begin a new one").arg(path));
  }
}

/// Opens a ledger with a log beside it. After a crash that log may have met another copy
/// of the ledger, which SQLite does not check. Only all rows tell, so look before
/// anything is written.
Database openBesideLog(const QString& path) {
  QString mistake;
  try {
    Database database = openForWriting(path);
    if (database.number("PRAGMA application_id") == kLedgerApplicationId) {
      mistake = verifyRows(database).found.value(0);
    }
    if (mistake.isEmpty()) {
      return database;
    }
  } catch (const DatabaseError& error) {
    if ((error.code & 0xFF) != SQLITE_CORRUPT) {
      throw;
    }
    mistake = error.message;
  }
  refuse(Kind::kDamaged, QStringLiteral("the ledger %1 is damaged, or the log %2 beside it is not its own (%3); put "
                                        "both back as they were at one moment")
                             .arg(path, logOf(path), mistake));
}

Database openFile(const QString& path, LedgerAccess access) {
  if (access == LedgerAccess::kRead) {
    return {path, Database::Access::kRead};
  }
  return QFileInfo(logOf(path)).size() > 0 ? openBesideLog(path) : openForWriting(path);
}

}  // namespace

void requireSoundEnd(const Database& database, const QString& path) {
  if (const QString mistake = mistakeInEnd(database); !mistake.isEmpty()) {
    refuse(Kind::kDamaged, QStringLiteral("the ledger %1 is damaged: %2").arg(path, mistake));
  }
}

LedgerError ledgerErrorOf(const DatabaseError& error, const QString& path, const QString& subject) {
  switch (error.code & 0xFF) {
    case SQLITE_CONSTRAINT:
      return {Kind::kRefused, QStringLiteral("%1 %2").arg(subject, error.message)};
    case SQLITE_FULL:
      return {Kind::kFull, QStringLiteral("cannot write the ledger %1: the disk is full").arg(path)};
    case SQLITE_IOERR:
      return {Kind::kFull, QStringLiteral("cannot read or write the ledger %1: the disk is full or fails").arg(path)};
    case SQLITE_READONLY:
    case SQLITE_PERM:
      return {Kind::kReadOnly, QStringLiteral("cannot write the ledger %1: it is read-only").arg(path)};
    case SQLITE_CANTOPEN:
      return {Kind::kReadOnly, QStringLiteral("cannot open the ledger %1, or make files beside it").arg(path)};
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return {Kind::kBusy, QStringLiteral("another program holds the ledger %1").arg(path)};
    case SQLITE_NOTADB:
      return {Kind::kNoLedger, QStringLiteral("%1 is no ledger of a station").arg(path)};
    default:
      return {Kind::kDamaged, QStringLiteral("the ledger %1 is damaged: %2").arg(path, error.message)};
  }
}

std::vector<std::string> expectedStructure(std::span<const Migration> steps) {
  Database database(QStringLiteral(":memory:"), Database::Access::kCreate);
  createTables(database, steps);
  return structureOf(database);
}

const std::vector<std::string>& presentStructure() {
  static const std::vector<std::string> structure = expectedStructure(migrations());
  return structure;
}

OpenedLedger openLedger(const QString& path, LedgerAccess access, std::span<const Migration> steps) {
  const int present = kFirstLedgerFormat + static_cast<int>(steps.size());
  bool isNew = false;
  if (access == LedgerAccess::kWrite && !QFileInfo::exists(path)) {
    requireNoPart(path);
    isNew = createFile(path, steps);
  }
  requireLedgerFile(path);
  OpenedLedger opened{openFile(path, access), isNew};
  const int format = formatOf(opened.database, path, present);
  if (access == LedgerAccess::kRead) {
    if (format < present) {
      // Its present form can be read only once it has it.
      QString copy = openLedger(path, LedgerAccess::kWrite, steps).copyOfOlder;
      OpenedLedger again = openLedger(path, access, steps);
      again.copyOfOlder = std::move(copy);
      return again;
    }
    return opened;
  }
  if (opened.database.isReadOnly()) {
    refuse(Kind::kReadOnly, QStringLiteral("cannot write the ledger %1: it is read-only").arg(path));
  }
  requireSoundEnd(opened.database, path);
  opened.database.mergeLogAtClose();
  useWriteAheadLog(opened.database);
  if (format < present) {
    opened.copyOfOlder = migrate(opened.database, path, steps, format);
  }
  if (structureOf(opened.database) != expectedStructure(steps)) {
    refuse(Kind::kDamaged, QStringLiteral("the ledger %1 has other tables or rules than this program makes").arg(path));
  }
  return opened;
}

bool Ledger::isNone(const QString& path) { return !QFileInfo::exists(path) && partLeftOf(path).isEmpty(); }

void Ledger::State::requireInPlace() const {
  if (opened.database.hasMoved()) {
    refuse(Kind::kMissing, QStringLiteral("the ledger %1 was moved or removed").arg(path));
  }
}

}  // namespace station
