#pragma once

#include "simulator/control/records.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace simulator {

class Section;

/// How far a burn has got; each burn of a device has its own number, from 1.
struct BurnProgress {
  unsigned burn = 0;
  double percent = 0;
};

/// All faults of a device: where, when and what. Whatever can fail asks here
/// each time, which counts it; that is the only place where faults are counted
/// and drawn by lot.
class FaultPlan {
 public:
  static constexpr auto kKeys = std::to_array<std::string_view>({"seed", "faults", "unplugAfterCalls"});
  void configure(const Section& scenario);

  void add(Fault fault) { faults_.push_back({std::move(fault)}); }
  /// Removes the faults at a range of points. Counting continues.
  void removeAt(FaultPoint first, FaultPoint last);

  /// Counts something at a point and gives the first fault added that concerns
  /// it, or null.
  /// @param operation of kOperation
  /// @param burn of kCaptureFlash
  const Fault* next(FaultPoint at, std::string_view operation = {}, BurnProgress burn = {});
  /// As `next`, for a point where each effect is asked for, and counted, alone.
  const Fault* nextWith(FaultPoint at, FaultEffect what);
  /// How often something has happened at a point; at least once.
  std::uint64_t count(FaultPoint at) const;
  void resetCount(FaultPoint at);

  void seed(std::uint64_t seed) { random_.seed(seed); }
  /// A random number below `limit`.
  std::size_t below(std::size_t limit);

  /// Notes that a fault inside the device pulls its plug, for the library to do
  /// when the step that runs is over.
  void requestUnplug(const Fault& fault) { unplug_ = fault; }
  std::optional<Fault> takeUnplug() { return std::exchange(unplug_, std::nullopt); }

 private:
  struct Counted {
    FaultPoint at;
    std::string detail;
    auto operator<=>(const Counted&) const = default;  // NOLINT(modernize-use-nullptr): made by the compiler
  };

  struct Planned {
    Fault fault;
    // Of fromPercent: how many burns have got so far, and the last one of them.
    std::uint64_t burns = 0;
    unsigned lastBurn = 0;
  };

  bool concerns(Planned& planned, std::uint64_t number, BurnProgress burn);

  std::vector<Planned> faults_;
  std::map<Counted, std::uint64_t> counts_;
  std::mt19937_64 random_{1};
  std::optional<Fault> unplug_;
};

}  // namespace simulator
