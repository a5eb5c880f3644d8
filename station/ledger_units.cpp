#include "station/ledger_open.h"
#include "station/ledger_rows.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace station {
namespace {

std::vector<TakenKey> keysOf(const Database& database, std::int64_t attempt) {
  std::vector<TakenKey> keys;
  Statement rows = database.prepare("SELECT file, sha256 FROM keys WHERE attempt = ? ORDER BY seq");
  rows.with({attempt});
  while (rows.next()) {
    keys.push_back({rows.text(0), rows.text(1)});
  }
  return keys;
}

/// What the steps of its attempts tell of who carries a number.
void findCarrier(const Database& database, const QString& serial, UnitState& unit) {
  Statement steps = database.prepare(
      "SELECT name, outcome, details FROM steps JOIN attempts ON attempts.seq = steps.attempt "
      "WHERE attempts.serial = ? ORDER BY steps.seq");
  steps.with({sqlText(serial)});
  std::set<QString> others;  // that the units carried before
  while (steps.next()) {
    const QString name = steps.text(0);
    const Facts details = factsOf(steps.text(2));
    if (const auto read = details.find(QStringLiteral("serialNumber")); read != details.end()) {
      unit.isCarried = read->second == serial;
      if (!unit.isCarried && name != QLatin1String("compare")) {
        others.insert(read->second);
      }
    } else if (name == nameOf(Step::kSerial) && stepOutcomeOf(steps.text(1)) != StepOutcome::kFailed) {
      // A write that was not verified says nothing: the unit may not have taken it.
      unit.isCarried = true;
    }
  }
  unit.isShared = others.size() > 1;
}

}  // namespace

const Database& Ledger::database() const { return state_->opened.database; }

LedgerResult<QStringList> Ledger::freeSerials(const QStringList& serials) const {
  return guarded(path(), {}, [&] {
    TakenSerials taken(state_->database());
    QStringList free;
    std::copy_if(serials.begin(), serials.end(), std::back_inserter(free),
                 [&taken](const QString& serial) { return !taken.has(serial); });
    return free;
  });
}

LedgerResult<std::int64_t> Ledger::nextNumber(const SerialRule& rule) const {
  return guarded(path(), {}, [&] { return nextNumberOf(state_->database(), rule); });
}

LedgerResult<QStringList> Ledger::freeKeys(const QStringList& hashes) const {
  return guarded(path(), {}, [&] {
    Statement taken = state_->database().prepare("SELECT 1 FROM keys WHERE sha256 = ?");
    QStringList free;
    std::copy_if(hashes.begin(), hashes.end(), std::back_inserter(free),
                 [&taken](const QString& hash) { return !taken.with({sqlText(hash)}).next(); });
    return free;
  });
}

LedgerResult<std::vector<OpenAttempt>> Ledger::unfinished(const QString& station) const {
  return guarded(path(), {}, [&] {
    std::vector<OpenAttempt> open;
    const Database& database = state_->database();
    Statement rows = database.prepare(
        "SELECT attempts.seq, attempts.serial, attempts.round, station, operator, job_sha256, recording, started "
        "FROM attempts LEFT JOIN ends ON ends.attempt = attempts.seq "
        "WHERE station = ? AND ends.seq IS NULL ORDER BY attempts.seq");
    rows.with({sqlText(station)});
    while (rows.next()) {
      OpenAttempt attempt;
      attempt.attempt = {rows.number(0), rows.text(1), static_cast<int>(rows.number(2))};
      attempt.station = rows.text(3);
      attempt.operatorName = rows.text(4);
      attempt.jobSha256 = rows.text(5);
      attempt.recording = rows.text(6);
      attempt.started = QDateTime::fromString(rows.text(7), Qt::ISODateWithMs);
      attempt.steps = stepsOf(database, attempt.attempt.id);
      attempt.keys = keysOf(database, attempt.attempt.id);
      open.push_back(std::move(attempt));
    }
    return open;
  });
}

LedgerResult<UnitState> Ledger::unit(const QString& serial) const {
  return guarded(path(), {}, [&] {
    UnitState unit;
    const Database& database = state_->database();
    const std::vector<SqlValue> of{sqlText(serial)};
    unit.isKnown = database.number("SELECT count(*) FROM serials WHERE serial = ?", of) > 0;
    unit.isScrapped = database.number("SELECT count(*) FROM scraps WHERE serial = ?", of) > 0;
    unit.round = static_cast<int>(database.number("SELECT count(*) FROM reworks WHERE serial = ?", of));
    unit.hasPassed = hasPassed(database, serial, unit.round);
    findCarrier(database, serial, unit);
    const std::int64_t open = database.number(
        "SELECT attempts.seq FROM attempts LEFT JOIN ends ON ends.attempt = attempts.seq "
        "WHERE attempts.serial = ? AND ends.seq IS NULL",
        of);
    if (open != 0) {
      unit.openAttempt = open;
    }
    Statement key = database.prepare(
        "SELECT keys.sha256 FROM keys JOIN attempts ON attempts.seq = keys.attempt "
        "WHERE attempts.serial = ? AND keys.sha256 NOT IN (SELECT sha256 FROM lost_keys) "
        "ORDER BY keys.seq DESC LIMIT 1");
    if (key.with(of).next()) {
      unit.keySha256 = key.text(0);
    }
    return unit;
  });
}

}  // namespace station
