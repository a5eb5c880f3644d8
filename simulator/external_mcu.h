#pragma once

#include "simulator/clock.h"
#include "simulator/i2c_bus.h"
#include "simulator/scenario_tree.h"

#include <array>
#include <cstdint>

namespace simulator {

/// The external MCU: its application answers at 0x0D, its boot loader at 0x43.
class ExternalMcu : public I2cTarget {
 public:
  static constexpr std::uint8_t kApplicationAddress = 0x0D;
  static constexpr std::uint8_t kBootLoaderAddress = 0x43;

  static constexpr std::array<std::string_view, 1> kKeys{"externalMcu"};
  void configure(const Section& scenario);

  bool answersAt(std::uint8_t address) const override;
  bool write(std::uint8_t address, std::span<const std::uint8_t> bytes) override;
  bool read(std::uint8_t address, std::span<const std::uint8_t> index, std::span<std::uint8_t> result) override;

 private:
  std::uint8_t family_ = '2';
  std::uint8_t version_ = 0x12;
  bool inBootLoader_ = false;
};

}  // namespace simulator
