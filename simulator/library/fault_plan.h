#pragma once

#include "simulator/scenario/scenario_tree.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

/// Which calls get another answer than the device's.
class FaultPlan {
 public:
  static constexpr std::array<std::string_view, 1> kKeys{"faults"};
  void configure(const Section& scenario);

  struct Fault {
    std::string operation;
    std::uint64_t call = 1;                    ///< first call concerned, from 1
    std::uint64_t count = 1;                   ///< number of calls concerned; 0 = all from there on
    std::int32_t status = 0;                   ///< what the call returns
    std::vector<std::uint8_t> answer;          ///< what it writes to its output, cut to its size
    std::optional<std::uint32_t> length = {};  ///< what it writes to its length argument
    bool answers = true;                       ///< false = the device answers itself, but...
    std::chrono::nanoseconds delay{};          ///< ... so much later
    bool unplugs = false;                      ///< ... as if unplugged before the call
  };
  void add(Fault fault) { faults_.push_back(std::move(fault)); }

  /// Counts a call of `operation` and gives its fault, or null. Of several
  /// faults for one call the first added counts.
  const Fault* nextCall(std::string_view operation);

 private:
  std::vector<Fault> faults_;
  std::map<std::string, std::uint64_t, std::less<>> calls_;
};

}  // namespace simulator
