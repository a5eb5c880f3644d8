#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace simulator {

/// A chip on the I2C bus.
class I2cTarget {
 public:
  virtual ~I2cTarget() = default;

  /// Whether the chip acknowledges a 7-bit address now.
  virtual bool answersAt(std::uint8_t address) const = 0;
  /// @param bytes at least one
  /// @return false when the chip does not acknowledge the bytes
  virtual bool write(std::uint8_t address, std::span<const std::uint8_t> bytes) = 0;
  /// Takes the register index bytes, then fills `result`.
  /// @param index  at least one byte
  /// @param result at least one byte
  /// @return false when the chip does not acknowledge the index
  virtual bool read(std::uint8_t address, std::span<const std::uint8_t> index, std::span<std::uint8_t> result) = 0;
};

/// The device's I2C bus.
class I2cBus {
 public:
  /// The only bus index that the device's firmware routes to its pins.
  static constexpr std::uint8_t kIndex = 3;

  /// @param target must outlive the bus
  void attach(I2cTarget& target) { targets_.push_back(&target); }
  /// The chip that acknowledges `address`, or null.
  I2cTarget* targetAt(std::uint8_t address) const;

 private:
  std::vector<I2cTarget*> targets_;
};

}  // namespace simulator
