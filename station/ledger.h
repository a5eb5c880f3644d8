#pragma once

#include "station/job.h"
#include "station/ledger_error.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <tl/expected.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace station {

class Database;

template <typename T = void>
using LedgerResult = tl::expected<T, LedgerError>;

/// Names and what they are, for example versions or hashes; kept as a JSON object.
using Facts = std::map<QString, QString>;

/// What a new attempt records of its surroundings.
struct AttemptStart {
  QString serial;  ///< empty = the next one of the job's list or counter
  QString station;
  QString operatorName;
  QString program;    ///< name and version
  QString library;    ///< file name and version or hash
  QString recording;  ///< name of the recording; empty = none is made
  /// Why a unit that has passed gets a further round; empty = it gets none.
  QString rework = {};
};

/// An attempt under way.
struct Attempt {
  std::int64_t id = 0;
  QString serial;
  int round = 0;  ///< 0, or how many reworks the unit has had
};

enum class StepOutcome : std::uint8_t { kDone, kSkipped, kFailed };
/// "done", "skipped", "failed"
QString nameOf(StepOutcome outcome);

/// The outcome of a step, also of those that the job does not list, such as
/// "identify", "restart" and "compare".
struct StepRecord {
  QString name;
  StepOutcome outcome = StepOutcome::kDone;
  QString evidence;  ///< what it rests on, for example "readback"
  QString reason;    ///< of a failure, or why it was skipped; may be empty
  int tries = 1;
  std::chrono::milliseconds duration{0};
  Facts details;  ///< what was read, for example {"captureVersion": "V1.04.00"}
};

enum class UnitResult : std::uint8_t { kPass, kFail, kError, kTimeout, kAborted };
/// "PASS", "FAIL", "ERROR", "TIMEOUT", "ABORTED"
QString nameOf(UnitResult result);

struct AttemptEnd {
  UnitResult result = UnitResult::kError;
  QString reason;  ///< empty for PASS
  Facts versionsBefore;
  Facts versionsAfter;
  std::chrono::milliseconds duration{0};  ///< device time, waiting for people left out
};

/// A key file that belongs to an attempt from now on and is never offered again.
struct TakenKey {
  QString path;
  QString sha256;
};

/// An attempt that has no end yet: under way, or cut off by a crash.
struct OpenAttempt {
  Attempt attempt;
  QString station;
  QString operatorName;
  QString jobSha256;
  QString recording;
  QDateTime started;
  std::vector<StepRecord> steps;
  std::vector<TakenKey> keys;  ///< in the order in which they were taken
};

/// What is known of a unit.
struct UnitState {
  bool isKnown = false;
  bool hasPassed = false;  ///< in its present round
  bool isScrapped = false;
  bool isCarried = false;  ///< a unit carried the number when the station last read or wrote it
  bool isShared = false;   ///< units that came with different numbers were worked on under this one
  int round = 0;
  std::optional<std::int64_t> openAttempt;
  QString keySha256;  ///< of the key that was taken for it and is not lost; empty = none
};

enum class LedgerAccess : std::uint8_t {
  kRead,   ///< the file must be there
  kWrite,  ///< the file is made when it is not there
};

/// The record of a line: one SQLite file in write-ahead mode, in which each function
/// that changes something is one transaction, on the disk when it returns. Rows are
/// added and never changed; each carries the hash of the one before.
///
/// Rules that the database itself holds:
/// - a serial number belongs to one unit; it passes once in each round, and a further
///   round begins with `rework` only;
/// - it has one attempt under way at a time, and none once it is scrapped;
/// - a key is taken once, ever;
/// - an attempt that has ended takes no more steps or keys.
///
/// Several processes may hold one file open, each with a Ledger of its own. One
/// thread at a time.
class Ledger {
 public:
  using Clock = std::function<QDateTime()>;

  /// @param clock for the times recorded; the system's unless given
  static LedgerResult<Ledger> open(const QString& path, LedgerAccess access, Clock clock = {});

  /// Whether there is neither a ledger nor a part of one that a crash left.
  static bool isNone(const QString& path);

  Ledger(const Ledger&) = delete;
  Ledger& operator=(const Ledger&) = delete;
  Ledger(Ledger&&) noexcept;
  Ledger& operator=(Ledger&&) noexcept;
  ~Ledger();

  /// Absolute path.
  QString path() const;
  /// Whether `open` made the file.
  bool isNew() const;
  /// The copy that was kept of a ledger of an older format; empty when it was not.
  QString copyOfOlder() const;

  /// Begins an attempt; call before the first write to the device. Takes the serial
  /// number and begins the further round in the same step, so that none is lost or
  /// given twice.
  /// Errors: kExhausted when list or counter is at its end, kRefused as above.
  LedgerResult<Attempt> begin(const Job& job, const AttemptStart& start);

  /// Takes the first file of the folder, by name, whose content no unit has had, those
  /// that have the name of a used key last; call before the key is burnt. A key that
  /// was taken for this unit before and not burnt for sure is recorded as lost.
  /// Errors: kExhausted when no file is left.
  LedgerResult<TakenKey> takeKey(std::int64_t attempt, const QString& folder);
  /// Records that a key went into no unit that can be sold.
  LedgerResult<> loseKey(std::int64_t attempt, const QString& sha256, const QString& reason);

  LedgerResult<> addStep(std::int64_t attempt, const StepRecord& step);
  LedgerResult<> end(std::int64_t attempt, const AttemptEnd& end);

  /// The attempts of a station without an end, oldest first.
  LedgerResult<std::vector<OpenAttempt>> unfinished(const QString& station) const;

  /// Allows a further attempt on a unit that has passed.
  /// @return the new round
  LedgerResult<int> rework(const QString& serial, const QString& operatorName, const QString& reason);
  /// Takes a unit out for good, and its key with it. An attempt under way ends as
  /// ABORTED.
  LedgerResult<> scrap(const QString& serial, const QString& operatorName, const QString& reason);

  LedgerResult<UnitState> unit(const QString& serial) const;

  /// Those of these serial numbers that no unit has, in their order.
  LedgerResult<QStringList> freeSerials(const QStringList& serials) const;
  /// The number that the job's counter gives next, unless that serial number is taken.
  LedgerResult<std::int64_t> nextNumber(const SerialRule& rule) const;
  /// Those of these keys (SHA-256) that were never taken, in their order.
  LedgerResult<QStringList> freeKeys(const QStringList& hashes) const;

  /// For the station's own reports.
  const Database& database() const;

  struct State;  ///< of the ledger's own files

 private:
  explicit Ledger(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

}  // namespace station
