#pragma once

#include "simulator/library/fault_plan.h"
#include "simulator/scenario/scenario_tree.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>

namespace simulator {

/// What a scenario says of the run rather than of the device.
struct RunPlan {
  static constexpr std::array<std::string_view, 8> kKeys{
      "description", "clock", "speedFactor", "latencyMs", "unplugAfterCalls", "unplugAfterMs", "seed", "stateFile"};
  void configure(const Section& scenario);

  bool skipsWaiting = false;  ///< nothing takes real time
  double speedFactor = 1;
  std::chrono::nanoseconds latency{};  ///< of each call that reaches the device
  std::optional<std::uint64_t> unplugAfterCalls;
  std::optional<std::chrono::nanoseconds> unplugAfter;
  std::uint64_t seed = 1;
  std::filesystem::path stateFile;  ///< empty = the device forgets all when the process ends
  FaultPlan faults;
};

}  // namespace simulator
