#pragma once

#include "station/device_link.h"
#include "station/display.h"
#include "station/ledger.h"
#include "station/unit_files.h"
#include "station/unit_watch.h"

#include <functional>
#include <optional>

namespace station {

/// What holds for all units of a shift. References must outlive every run.
struct ShiftTools {
  const Job& job;
  const UnitFiles& files;
  Ledger& ledger;
  Display& display;
  DeviceLink& link;
  const Surroundings& outside;
};

/// The outcome of a unit.
struct UnitEnd {
  UnitResult result = UnitResult::kError;
  QString serial;        ///< as far as known
  QString reason;        ///< empty for PASS
  QString sentence;      ///< what to do with the unit
  bool isBegun = false;  ///< whether the ledger has an attempt
  /// Set when the ledger gives or takes nothing more: the shift must end.
  std::optional<LedgerError> ledgerError = {};
};

/// Runs the unit that is plugged in: identifies it, begins an attempt in the ledger,
/// does the job's steps, restarts it, reads everything again and ends the attempt.
/// The identity is read again before each write; when another unit answers, nothing
/// more is written. PASS only when the ledger has it on the disk.
class UnitRun {
 public:
  explicit UnitRun(const ShiftTools& tools) : tools_(tools), watch_(tools.job, tools.link, tools.outside) {}

  /// A unit from its beginning.
  /// @param identity as the link told it
  /// @param start its `serial` as scanned; empty for a job that has a list or counts
  UnitEnd run(const Identity& identity, const AttemptStart& start);

  /// A unit whose attempt was cut off; `mistakeInUnit` has found nothing.
  UnitEnd resume(const Identity& identity, const OpenAttempt& interrupted);

  /// A unit that nobody plugged in after its number was scanned: TIMEOUT.
  UnitEnd missed(const AttemptStart& start, const QString& reason);

  /// An attempt that was cut off and cannot be resumed: ABORTED.
  UnitEnd abandon(const OpenAttempt& interrupted, const QString& reason);

 private:
  UnitEnd finish(const std::function<void()>& work);
  UnitEnd notBegun(UnitEnd end) const;
  void doUnit();
  void begin(const Identity& identity, const AttemptStart& start);
  void beginAttempt(const AttemptStart& start);
  void settleKey(const OpenAttempt& interrupted, bool carriesSerial);

  void doStep(const PlannedStep& planned);
  StepReport tryStep(Step step);
  StepReport burnUnitKey();
  StepReport writeEdidRule();
  void loseKey(const QString& reason);
  void restartUnit();
  void compareAll();

  void record(const StepRecord& step);
  template <typename Value>
  Value require(LedgerResult<Value> result);
  void stopIfRequested() const;
  std::chrono::milliseconds since(std::chrono::steady_clock::time_point start) const;
  StepTools stepTools(Step step) const;

  const ShiftTools& tools_;
  UnitWatch watch_;
  QString serial_;  // of the attempt, or as far as known before
  std::optional<std::int64_t> attempt_;
  std::chrono::steady_clock::time_point begun_;
  Facts before_;
  Facts after_;
  std::optional<TakenKey> key_;  // taken in this attempt, not lost
  bool isKeyBurnt_ = false;      // also by an earlier attempt
  std::optional<LedgerError> ledgerError_;
};

}  // namespace station
