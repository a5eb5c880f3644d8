#pragma once

#include "station/ledger.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

/// What a ledger tells.
namespace station {

/// A key that an attempt took.
struct RecordedKey {
  TakenKey key;
  QString lost;  ///< why it went into no unit; empty = it did
};

/// An attempt as recorded in the ledger. Times are UTC, ISO 8601.
struct AttemptRecord {
  std::int64_t id = 0;
  QString serial;
  int round = 0;
  QString job;
  QString jobSha256;
  QString model;
  Facts images;
  QString station;
  QString operatorName;
  QString program;
  QString library;
  QString recording;  ///< empty = none
  QString started;
  QString ended;   ///< empty = it has no end yet
  QString result;  ///< of one that ended: "PASS", ...
  QString reason;
  Facts versionsBefore;
  Facts versionsAfter;
  std::int64_t durationMs = 0;
  std::vector<StepRecord> steps;
  std::vector<RecordedKey> keys;
};

/// Which attempts to tell of.
struct AttemptFilter {
  std::optional<QString> serial;  ///< of this unit; none = of all
  QDateTime since;                ///< begun then or later; invalid = all
};

/// Goes through attempts, oldest first.
LedgerResult<> eachAttempt(const Ledger& ledger, const AttemptFilter& filter,
                           const std::function<void(const AttemptRecord&)>& visit);

/// A rework or the end of a unit.
struct UnitEvent {
  bool isScrap = false;
  int round = 0;  ///< of a rework
  QString operatorName;
  QString reason;
  QString at;
};
LedgerResult<std::vector<UnitEvent>> eventsOf(const Ledger& ledger, const QString& serial);

/// One way to fail.
struct FailureCount {
  QString result;  ///< "FAIL", ...
  QString step;    ///< the last one that failed; empty = none did
  QString kind;    ///< the reason without what differs from unit to unit
  QString reason;  ///< of the latest of them, in full
  std::int64_t count = 0;
};

/// Where a line stands.
struct LineStatus {
  std::int64_t units = 0;       ///< with an attempt that ended
  std::int64_t passed = 0;      ///< of these
  std::int64_t firstTried = 0;  ///< units whose very first attempt ended
  std::int64_t firstPassed = 0;
  std::int64_t attempts = 0;              ///< that ended
  std::vector<FailureCount> failures;     ///< most frequent first
  std::optional<std::int64_t> cycleMs;    ///< median of the attempts that passed
  std::optional<std::int64_t> longestMs;  ///< of these
  std::int64_t open = 0;                  ///< attempts without an end, whenever begun
  std::int64_t scrapped = 0;
  std::int64_t keysTaken = 0;
  std::int64_t keysLost = 0;
};

/// @param since what ended then or later counts
LedgerResult<LineStatus> statusOf(const Ledger& ledger, const QDateTime& since);

}  // namespace station
