#pragma once

#include <array>
#include <cstdint>

namespace simulator {

class StateReader;
class StateWriter;

/// The capture chip's pins: group 0 = ISO, 1 = MISC, 14 pins each.
class Gpio {
 public:
  static constexpr std::uint8_t kGroups = 2;
  static constexpr std::uint8_t kPins = 14;

  /// The pin's value, or null when there is no such pin.
  std::uint8_t* pin(std::uint8_t group, std::uint8_t index) {
    return group < kGroups && index < kPins ? &pins_[group][index] : nullptr;
  }
  void store(StateWriter& writer) const;
  /// @throws StateError
  void restore(StateReader& reader);
  void powerCycle() { pins_ = {}; }
  void restoreDefaults() { pins_ = {}; }

 private:
  std::array<std::array<std::uint8_t, kPins>, kGroups> pins_{};
};

}  // namespace simulator
