#include "device/ext_mcu_channel.h"

#include "device/RTICE_SDK_x64.h"

namespace device {

std::optional<std::uint8_t> readRegisterByte(std::uint8_t bus, std::uint8_t slave, std::uint8_t registerIndex) {
  std::uint8_t value = 0;
  if (AT_System_Get_ExternalMCU_cmd(bus, slave, 1, &registerIndex, 1, &value) != 0) {
    return std::nullopt;
  }
  return value;
}

}  // namespace device
