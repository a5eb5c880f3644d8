#include "device/ext_mcu_channel.h"

#include "device/RTICE_SDK_x64.h"
#include "device/answer.h"

#include <array>
#include <limits>

namespace device {
namespace {

constexpr std::uint32_t kReady = 0x01;
constexpr int kMaxPolls = 100;
constexpr std::chrono::milliseconds kPollInterval{5};

}  // namespace

Result<> readI2c(std::uint8_t bus, std::uint8_t slave, std::span<const std::uint8_t> registerIndex,
                 std::span<std::uint8_t> buffer) {
  return resultOf(AT_System_Get_ExternalMCU_cmd(bus, slave, static_cast<unsigned int>(registerIndex.size()),
                                                registerIndex.data(), static_cast<unsigned int>(buffer.size()),
                                                buffer.data()));
}

Result<> writeI2c(std::uint8_t bus, std::uint8_t slave, std::span<const std::uint8_t> bytes) {
  if (bytes.empty() || bytes.size() > std::numeric_limits<std::uint16_t>::max()) {
    return failure(kNotCalled);
  }
  return resultOf(AT_System_Send_ExternalMCU_cmd(bus, slave, static_cast<std::uint16_t>(bytes.size()), bytes.data()));
}

Result<std::uint8_t> readRegister(std::uint8_t bus, std::uint8_t slave, std::uint8_t registerIndex) {
  Answer<std::uint8_t> answer;
  return readI2c(bus, slave, {&registerIndex, 1}, {&answer.value, 1}).map([&answer] { return answer.value; });
}

std::uint32_t readRegisterByte(std::uint8_t bus, std::uint8_t slave, std::uint8_t registerIndex) {
  const Result<std::uint8_t> value = readRegister(bus, slave, registerIndex);
  return value ? *value : kReadFailed;
}

bool writeRegisterByte(std::uint8_t bus, std::uint8_t slave, std::uint8_t registerIndex, std::uint8_t value) {
  return writeRegisterBlock(bus, slave, std::array{registerIndex, value});
}

bool readRegisterBlock(std::uint8_t bus, std::uint8_t slave, std::uint8_t registerIndex,
                       std::span<std::uint8_t> buffer) {
  return readI2c(bus, slave, {&registerIndex, 1}, buffer).has_value();
}

bool writeRegisterBlock(std::uint8_t bus, std::uint8_t slave, std::span<const std::uint8_t> buffer) {
  return writeI2c(bus, slave, buffer).has_value();
}

std::uint32_t readBootChecksum() { return readRegisterByte(kI2cBus, kMcuBootLoader, kBootChecksumRegister); }

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
