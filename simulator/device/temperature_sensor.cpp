#include "simulator/device/temperature_sensor.h"

#include "simulator/device/state_bytes.h"

namespace simulator {

void TemperatureSensor::store(StateWriter& writer) const {
  for (const std::uint16_t value : registers_) {
    writer.number(value);
  }
}

void TemperatureSensor::restore(StateReader& reader) {
  for (std::uint16_t& value : registers_) {
    value = reader.number<std::uint16_t>();
  }
}

bool TemperatureSensor::write(std::uint8_t, std::span<const std::uint8_t> bytes) {
  if (bytes[0] >= registers_.size()) {
    return false;
  }
  if (bytes.size() >= 3 && bytes[0] != 0) {
    registers_[bytes[0]] = static_cast<std::uint16_t>(bytes[1] << 8 | bytes[2]);
  }
  return true;
}

bool TemperatureSensor::read(std::uint8_t, std::span<const std::uint8_t> index, std::span<std::uint8_t> result) {
  if (index.size() != 1 || index[0] >= registers_.size()) {
    return false;
  }
  for (std::size_t i = 0; i < result.size(); ++i) {
    const std::uint16_t value = registers_[index[0]];
    result[i] = static_cast<std::uint8_t>(i % 2 == 0 ? value >> 8 : value & 0xFF);
  }
  return true;
}

}  // namespace simulator
