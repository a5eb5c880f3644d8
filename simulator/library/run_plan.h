#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>

namespace simulator {

class Section;

/// What a scenario says of the run rather than of the device.
struct RunPlan {
  static constexpr auto kKeys = std::to_array<std::string_view>(
      {"description", "clock", "speedFactor", "latencyMs", "stateFile", "units", "nextUnitAfterMs"});
  void configure(const Section& scenario);

  bool skipsWaiting = false;  ///< nothing takes real time
  double speedFactor = 1;
  std::chrono::nanoseconds latency{};        ///< of each call that reaches the device
  std::chrono::nanoseconds nextUnitAfter{};  ///< between a unit's end and the next one's plug
  std::filesystem::path stateFile;           ///< empty = the device forgets all when the process ends
};

}  // namespace simulator
