#pragma once

#include "station/unit_run.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace station {

/// What to do with a unit whose attempt was cut off by a crash.
enum class Unfinished : std::uint8_t { kAsk, kResume, kScrap };

struct ShiftOptions {
  AttemptStart start;        ///< of each attempt, its serial number left empty
  std::optional<int> count;  ///< how many units; empty = until stopped or the input's end
  Unfinished unfinished = Unfinished::kAsk;
  /// A line that was typed or scanned; empty at the input's end.
  std::function<std::optional<QString>()> readLine;
};

/// The outcome of a shift.
struct ShiftEnd {
  std::vector<UnitEnd> units;
  QString problem;                              ///< why it ended before its time; one clause, empty = it did not
  std::optional<LedgerError> ledgerError = {};  ///< set where that is the ledger's

  int passed() const;
  /// Whether the ledger has an attempt of one unit at least.
  bool hasBegun() const;
};

/// Unit after unit: takes the serial number, waits for the unit, runs it, shows what
/// came of it, waits until it is unplugged. First offers what a crash left behind.
class Shift {
 public:
  /// Both must outlive the shift.
  Shift(const ShiftTools& tools, const ShiftOptions& options) : tools_(tools), options_(options) {}

  ShiftEnd run();

 private:
  bool settleUnfinished();
  bool settle(const OpenAttempt& interrupted);
  bool resume(const OpenAttempt& interrupted);
  bool scrap(const OpenAttempt& interrupted);
  std::optional<Unfinished> askWhetherToResume(const OpenAttempt& interrupted);

  bool doNextUnit();
  std::optional<QString> scanSerial();
  std::optional<QString> ask(const QString& question);
  bool close(const UnitEnd& unit);
  void tellWhatIsMissing();
  bool fail(const QString& problem);
  bool fail(const LedgerError& error);
  bool isComplete() const;

  const ShiftTools& tools_;
  const ShiftOptions& options_;
  ShiftEnd end_;
};

}  // namespace station
