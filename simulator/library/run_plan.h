#pragma once

#include "simulator/library/fault_plan.h"
#include "simulator/scenario/scenario_tree.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

namespace simulator {

/// What a scenario says of the run rather than of the device.
struct RunPlan {
  static constexpr std::array<std::string_view, 5> kKeys{"speedFactor", "latencyMs", "unplugAfterCalls",
                                                         "unplugAfterMs", "seed"};
  void configure(const Section& scenario);

  double speedFactor = 1;
  std::chrono::nanoseconds latency{};  ///< of each call that reaches the device
  std::optional<std::uint64_t> unplugAfterCalls;
  std::optional<std::chrono::nanoseconds> unplugAfter;
  std::uint64_t seed = 1;
  FaultPlan faults;
};

}  // namespace simulator
