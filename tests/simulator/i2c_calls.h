#pragma once

#include "device/RTICE_SDK_x64.h"

#include <cstdint>
#include <vector>

/// Transfers on the simulated device's I2C bus.
namespace i2c {

using Bytes = std::vector<std::uint8_t>;

/// The library's status.
inline std::int32_t write(std::uint8_t slave, const Bytes& bytes, std::uint8_t bus = 3) {
  return AT_System_Send_ExternalMCU_cmd(bus, slave, static_cast<std::uint16_t>(bytes.size()), bytes.data());
}

/// What is read behind the index bytes; nothing when the read fails.
inline Bytes read(std::uint8_t slave, const Bytes& index, unsigned size, std::uint8_t bus = 3) {
  Bytes bytes(size, 0xA5);
  const std::int32_t status = AT_System_Get_ExternalMCU_cmd(
      bus, slave, static_cast<unsigned>(index.size()), index.data(), static_cast<unsigned>(bytes.size()), bytes.data());
  return status == 0 ? bytes : Bytes();
}

}  // namespace i2c
