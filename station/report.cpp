#include "station/report.h"

#include "station/database.h"
#include "station/ledger_open.h"
#include "station/ledger_rows.h"
#include "station/reason_kind.h"

#include <algorithm>
#include <array>
#include <map>

namespace station {
namespace {

constexpr const char* kAttempts =
    "SELECT a.seq, a.serial, a.round, job, job_sha256, model, images, station, operator, program, library, recording, "
    "started, ended, result, reason, versions_before, versions_after, duration_ms "
    "FROM attempts AS a LEFT JOIN ends ON ends.attempt = a.seq ";

SqlValue timeOf(const QDateTime& time) {
  return sqlText(time.isValid() ? time.toUTC().toString(Qt::ISODateWithMs) : QString());
}

AttemptRecord recordOf(const Statement& row) {
  AttemptRecord record;
  record.id = row.number(0);
  record.serial = row.text(1);
  record.round = static_cast<int>(row.number(2));
  record.job = row.text(3);
  record.jobSha256 = row.text(4);
  record.model = row.text(5);
  record.images = factsOf(row.text(6));
  record.station = row.text(7);
  record.operatorName = row.text(8);
  record.program = row.text(9);
  record.library = row.text(10);
  record.recording = row.text(11);
  record.started = row.text(12);
  record.ended = row.text(13);
  record.result = row.text(14);
  record.reason = row.text(15);
  record.versionsBefore = factsOf(row.text(16));
  record.versionsAfter = factsOf(row.text(17));
  record.durationMs = row.number(18);
  return record;
}

std::vector<RecordedKey> keysTakenIn(const Database& database, std::int64_t attempt) {
  std::vector<RecordedKey> keys;
  Statement rows = database.prepare(
      "SELECT file, keys.sha256, reason FROM keys LEFT JOIN lost_keys USING (sha256) "
      "WHERE keys.attempt = ? ORDER BY keys.seq");
  rows.with({attempt});
  while (rows.next()) {
    keys.push_back({{rows.text(0), rows.text(1)}, rows.text(2)});
  }
  return keys;
}

std::vector<FailureCount> failuresSince(const Database& database, const SqlValue& since) {
  Statement rows = database.prepare(
      "SELECT result, coalesce((SELECT name FROM steps WHERE steps.attempt = ends.attempt AND outcome = 'failed' "
      "ORDER BY seq DESC LIMIT 1), ''), coalesce(reason, ''), serial "
      "FROM ends WHERE ended >= ? AND result <> 'PASS' ORDER BY seq");
  rows.with({since});
  std::map<std::array<QString, 3>, FailureCount> kinds;
  while (rows.next()) {
    const QString kind = kindOfReason(rows.text(2), rows.text(3));
    FailureCount& failure = kinds[{rows.text(0), rows.text(1), kind}];
    failure = {rows.text(0), rows.text(1), kind, rows.text(2), failure.count + 1};
  }
  std::vector<FailureCount> failures;
  failures.reserve(kinds.size());
  for (const auto& [key, failure] : kinds) {
    failures.push_back(failure);
  }
  std::stable_sort(failures.begin(), failures.end(),
                   [](const FailureCount& a, const FailureCount& b) { return a.count > b.count; });
  return failures;
}

}  // namespace

LedgerResult<> eachAttempt(const Ledger& ledger, const AttemptFilter& filter,
                           const std::function<void(const AttemptRecord&)>& visit) {
  return guarded(ledger.path(), {}, [&] {
    const Database& database = ledger.database();
    const std::string serial = filter.serial ? "AND a.serial = ?2 " : "";
    Statement rows = database.prepare(kAttempts + ("WHERE started >= ?1 " + serial) + "ORDER BY a.seq");
    std::vector<SqlValue> values{timeOf(filter.since)};
    if (filter.serial) {
      values.push_back(sqlText(*filter.serial));
    }
    rows.with(values);
    while (rows.next()) {
      AttemptRecord record = recordOf(rows);
      record.steps = stepsOf(database, record.id);
      record.keys = keysTakenIn(database, record.id);
      visit(record);
    }
  });
}

LedgerResult<std::vector<UnitEvent>> eventsOf(const Ledger& ledger, const QString& serial) {
  return guarded(ledger.path(), {}, [&] {
    Statement rows = ledger.database().prepare(
        "SELECT 0, round, operator, reason, at FROM reworks WHERE serial = ?1 "
        "UNION ALL SELECT 1, 0, operator, reason, at FROM scraps WHERE serial = ?1 ORDER BY 1, 2");
    rows.with({sqlText(serial)});
    std::vector<UnitEvent> events;
    while (rows.next()) {
      events.push_back(
          {rows.number(0) != 0, static_cast<int>(rows.number(1)), rows.text(2), rows.text(3), rows.text(4)});
    }
    return events;
  });
}

LedgerResult<LineStatus> statusOf(const Ledger& ledger, const QDateTime& since) {
  return guarded(ledger.path(), {}, [&] {
    const Database& database = ledger.database();
    const SqlValue from = timeOf(since);
    const auto count = [&](const char* sql) { return database.number(sql, {from}); };
    LineStatus status;
    status.units = count("SELECT count(DISTINCT serial) FROM ends WHERE ended >= ?");
    status.passed = count("SELECT count(DISTINCT serial) FROM ends WHERE ended >= ? AND result = 'PASS'");
    status.attempts = count("SELECT count(*) FROM ends WHERE ended >= ?");
    constexpr const char* kFirst =
        "FROM ends WHERE ended >= ? AND attempt = (SELECT min(seq) FROM attempts WHERE attempts.serial = ends.serial)";
    status.firstTried = count((std::string("SELECT count(*) ") + kFirst).c_str());
    status.firstPassed = count((std::string("SELECT count(*) ") + kFirst + " AND result = 'PASS'").c_str());
    status.failures = failuresSince(database, from);
    constexpr const char* kPassed = "FROM ends WHERE ended >= ?1 AND result = 'PASS'";
    Statement times = database.prepare(std::string("SELECT duration_ms, max(duration_ms) OVER () ") + kPassed +
                                       " ORDER BY duration_ms LIMIT 1 OFFSET (SELECT count(*) / 2 " + kPassed + ")");
    if (times.with({from}).next()) {
      status.cycleMs = times.number(0);
      status.longestMs = times.number(1);
    }
    status.open = database.number(
        "SELECT count(*) FROM attempts LEFT JOIN ends ON ends.attempt = attempts.seq WHERE ends.seq IS NULL");
    status.scrapped = count("SELECT count(*) FROM scraps WHERE at >= ?");
    status.keysTaken = count("SELECT count(*) FROM keys WHERE taken >= ?");
    status.keysLost = count("SELECT count(*) FROM lost_keys WHERE lost >= ?");
    return status;
  });
}

}  // namespace station
