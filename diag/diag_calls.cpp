#include "diag/diag_calls.h"

#include "device/RTICE_SDK_x64.h"
#include "device/answer.h"
#include "device/ext_mcu_channel.h"

#include <span>

namespace diag {
namespace {

std::span<const std::uint8_t> view(const QByteArray& bytes) {
  return {reinterpret_cast<const std::uint8_t*>(bytes.constData()), static_cast<std::size_t>(bytes.size())};
}

}  // namespace

device::Result<QByteArray> readRegister(std::uint8_t slave, const QByteArray& registerIndex, int count) {
  // With room behind, as for every answer.
  QByteArray bytes(count + static_cast<int>(device::Answer<std::uint8_t>::kSpareBytes), '\0');
  const std::span<std::uint8_t> buffer(reinterpret_cast<std::uint8_t*>(bytes.data()), static_cast<std::size_t>(count));
  return device::readI2c(device::kI2cBus, slave, view(registerIndex), buffer).map([&] {
    bytes.truncate(count);
    return bytes;
  });
}

device::Result<> writeRegister(std::uint8_t slave, const QByteArray& registerIndex, const QByteArray& bytes) {
  return device::writeI2c(device::kI2cBus, slave, view(registerIndex + bytes));
}

device::Result<std::uint8_t> readPin(GpioGroup group, std::uint8_t pin) {
  device::Answer<std::uint8_t> answer;
  return device::resultOf(AT_GPIO_Get_Param(static_cast<std::uint8_t>(group), pin, &answer.value)).map([&answer] {
    return answer.value;
  });
}

device::Result<> writePin(GpioGroup group, std::uint8_t pin, std::uint8_t value) {
  return device::resultOf(AT_GPIO_Set_Param(static_cast<std::uint8_t>(group), pin, value));
}

}  // namespace diag
