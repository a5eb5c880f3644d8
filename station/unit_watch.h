#pragma once

#include "station/device_link.h"
#include "station/job.h"
#include "station/ledger.h"

#include <QString>

#include <optional>

namespace station {

/// Ends a unit's run; thrown by code that cannot continue.
struct RunEnded {
  UnitResult result;
  QString reason;  ///< one clause without a full stop
};

/// Knows who must be plugged in, and looks whether it still is. What a step is about
/// to change may differ while that step is under way, but not once the port was
/// opened anew: then only what was there before and what the job wants will do.
class UnitWatch {
 public:
  UnitWatch(const Job& job, DeviceLink& link, const Surroundings& outside)
      : job_(job), link_(link), outside_(outside) {}

  /// @param identity of the unit that is plugged in
  /// @param serial the number of the attempt
  void begin(const Identity& identity, const QString& serial);
  void stepBegins(Step step);
  /// The step is done, and the device is as the job wants it.
  void stepIsDone(Step step);

  /// Reads who is there. A unit that was unplugged for a moment is waited for.
  /// @param before what comes next, for messages
  /// @param mustBeSure a unit that came back must carry the attempt's serial number
  /// @throws RunEnded (ERROR) when it is another unit, (TIMEOUT) when none answers,
  ///         (ABORTED) on request
  void lookAgain(const QString& before, bool mustBeSure);
  /// The same, once the unit has been restarted.
  void waitForReturn();

  const Identity& known() const { return known_; }
  /// Whether the unit carries the number of this attempt.
  bool carriesSerial() const { return known_.serialNumber == serial_; }

 private:
  void comeBack(std::chrono::milliseconds within, const QString& before);
  QString differenceTo(const Identity& found) const;

  const Job& job_;
  DeviceLink& link_;
  const Surroundings& outside_;
  QString serial_;
  Identity known_;
  std::optional<Step> changing_;
  bool isOpenedAnew_ = false;  // since that step began
  bool mayBeRenamed_ = false;  // by new capture firmware
};

/// For records, and back.
Facts factsOf(const Identity& identity);
Identity identityOf(const Facts& facts);

/// Whether a unit can be that of another serial number than it carries.
/// @param own what the ledger knows of the number that it carries
/// @param unit what it knows of the wanted one
/// @return why not, one clause; empty = it can
QString mistakeInNumber(const QString& carried, const UnitState& own, const QString& wanted, const UnitState& unit);

/// Whether the unit that is plugged in can be the one of an attempt that was cut off.
/// @return why not, one clause; empty = it can
LedgerResult<QString> mistakeInUnit(const Identity& identity, const OpenAttempt& interrupted, const Job& job,
                                    const Ledger& ledger);

}  // namespace station
