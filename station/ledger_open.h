#pragma once

#include "station/database.h"
#include "station/ledger.h"
#include "station/ledger_schema.h"

#include <exception>
#include <span>

/// What the files of the ledger share; not for others.
namespace station {

/// Ends a function of the ledger; `guarded` makes a result of it.
struct LedgerFailure : std::exception {
  explicit LedgerFailure(LedgerError what) : error(std::move(what)) {}
  LedgerFailure(LedgerError::Kind kind, QString message) : error{kind, std::move(message)} {}

  LedgerError error;

  const char* what() const noexcept override { return "the ledger refused"; }
};

/// What an error of the database means for the ledger.
/// @param subject whom a rule is about, for example "serial number LINE-42"
LedgerError ledgerErrorOf(const DatabaseError& error, const QString& path, const QString& subject = {});

/// Runs work that may throw a DatabaseError or a LedgerFailure.
template <typename Work>
auto guarded(const QString& path, const QString& subject, Work work) -> LedgerResult<decltype(work())> {
  try {
    if constexpr (std::is_void_v<decltype(work())>) {
      work();
      return {};
    } else {
      return work();
    }
  } catch (const DatabaseError& error) {
    return tl::unexpected(ledgerErrorOf(error, path, subject));
  } catch (const LedgerFailure& failure) {
    return tl::unexpected(failure.error);
  }
}

struct OpenedLedger {
  Database database;
  bool isNew = false;
  QString copyOfOlder = {};
};

/// Opens a ledger, creates it, or converts it to the current format.
/// @param steps the migrations there have been; tests give others
/// @throws DatabaseError, LedgerFailure
OpenedLedger openLedger(const QString& path, LedgerAccess access, std::span<const Migration> steps = migrations());

/// Refuses a ledger whose chain is broken at its end. `openLedger` does so only for
/// writing: what is left of one can still be verified.
/// @throws DatabaseError, LedgerFailure
void requireSoundEnd(const Database& database, const QString& path);

/// Tables and rules as `openLedger` makes them.
std::vector<std::string> expectedStructure(std::span<const Migration> steps);
/// The same of the present format, made once.
const std::vector<std::string>& presentStructure();

struct Ledger::State {
  QString path;
  OpenedLedger opened;
  Clock clock;

  Database& database() { return opened.database; }
  QString now() const { return clock().toUTC().toString(Qt::ISODateWithMs); }

  /// One transaction: all of the work is recorded, or nothing.
  template <typename Work>
  auto change(const QString& subject, Work work) -> LedgerResult<decltype(work())> {
    return guarded(path, subject, [&] {
      Transaction transaction(database());
      requireInPlace();
      if constexpr (std::is_void_v<decltype(work())>) {
        work();
        transaction.commit();
      } else {
        auto result = work();
        transaction.commit();
        return result;
      }
    });
  }

 private:
  /// Rows written to a file that was removed would be gone with it.
  void requireInPlace() const;
};

}  // namespace station
