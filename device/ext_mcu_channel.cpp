#include "device/ext_mcu_channel.h"

#include "device/RTICE_SDK_x64.h"

#include <array>
#include <limits>

namespace device {
namespace {

constexpr std::uint32_t kReady = 0x01;
constexpr int kMaxPolls = 100;
constexpr std::chrono::milliseconds kPollInterval{5};

}  // namespace

std::uint32_t readRegisterByte(std::uint8_t bus, std::uint8_t slave, std::uint8_t registerIndex) {
  std::uint8_t value = 0;
  return readRegisterBlock(bus, slave, registerIndex, {&value, 1}) ? value : kReadFailed;
}

bool writeRegisterByte(std::uint8_t bus, std::uint8_t slave, std::uint8_t registerIndex, std::uint8_t value) {
  return writeRegisterBlock(bus, slave, std::array{registerIndex, value});
}

bool readRegisterBlock(std::uint8_t bus, std::uint8_t slave, std::uint8_t registerIndex,
                       std::span<std::uint8_t> buffer) {
  return AT_System_Get_ExternalMCU_cmd(bus, slave, 1, &registerIndex, static_cast<unsigned int>(buffer.size()),
                                       buffer.data()) == 0;
}

bool writeRegisterBlock(std::uint8_t bus, std::uint8_t slave, std::span<const std::uint8_t> buffer) {
  if (buffer.empty() || buffer.size() > std::numeric_limits<std::uint16_t>::max()) {
    return false;
  }
  return AT_System_Send_ExternalMCU_cmd(bus, slave, static_cast<std::uint16_t>(buffer.size()), buffer.data()) == 0;
}

bool packetChecksumMatches(std::uint8_t expected) {
  const std::uint32_t computed = readRegisterByte(kI2cBus, kMcuBootLoader, kBootChecksumRegister);
  return static_cast<std::uint8_t>(computed) == expected;
}

bool waitForBootLoaderReady(const Pause& pause) {
  for (int poll = 0; poll < kMaxPolls; ++poll) {
    if (readRegisterByte(kI2cBus, kMcuBootLoader, kBootStatusRegister) == kReady) {
      return true;
    }
    pause(kPollInterval);
  }
  return false;
}

}  // namespace device
