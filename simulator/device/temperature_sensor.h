#pragma once

#include "simulator/device/i2c_bus.h"

#include <array>
#include <cstdint>

namespace simulator {

class StateReader;
class StateWriter;

/// A board temperature sensor with four 16-bit registers, most significant byte
/// first, chosen by a pointer byte: 0 = temperature in 1/256 degrees Celsius
/// (read only), 1 = configuration, 2 = low limit, 3 = high limit.
class TemperatureSensor : public I2cTarget {
 public:
  static constexpr std::uint8_t kAddress = 0x48;

  void store(StateWriter& writer) const;
  /// @throws StateError
  void restore(StateReader& reader);
  void powerCycle() { *this = TemperatureSensor(); }

  bool answersAt(std::uint8_t address) const override { return address == kAddress; }
  /// Takes the pointer byte and the register's two bytes; a lone byte behind
  /// the pointer changes nothing. Other pointers are not acknowledged.
  bool write(std::uint8_t address, std::span<const std::uint8_t> bytes) override;
  /// Longer reads repeat the register.
  bool read(std::uint8_t address, std::span<const std::uint8_t> index, std::span<std::uint8_t> result) override;

 private:
  std::array<std::uint16_t, 4> registers_{0x2A40, 0x60A0, 0x4B00, 0x5000};  // 42.25, limits 75 and 80
};

}  // namespace simulator
