#include "simulator/device/eeprom.h"

#include <algorithm>

namespace simulator {

Eeprom::Eeprom(std::uint8_t busAddress, Kind kind, const Clock& clock)
    : busAddress_(busAddress), kind_(kind), clock_(clock), memory_(kind.size, 0xFF) {}

void Eeprom::program(std::size_t address, std::span<const std::uint8_t> bytes) {
  const std::size_t first = std::min(address, memory_.size());
  const std::size_t count = std::min(bytes.size(), memory_.size() - first);
  std::copy_n(bytes.begin(), count, memory_.begin() + static_cast<std::ptrdiff_t>(first));
}

bool Eeprom::answersAt(std::uint8_t address) const { return address == busAddress_ && clock_.now() >= busyUntil_; }

std::span<const std::uint8_t> Eeprom::takeAddress(std::span<const std::uint8_t> bytes) {
  if (kind_.addressBytes == 1) {
    pointer_ = bytes[0];
  } else {
    pointer_ = static_cast<std::size_t>(bytes[0]) << 8 | (pointer_ & 0xFF);
    if (bytes.size() > 1) {
      pointer_ = (pointer_ & 0xFF00) | bytes[1];
    }
  }
  pointer_ %= kind_.size;
  return bytes.subspan(std::min(kind_.addressBytes, bytes.size()));
}

void Eeprom::stepInPage() { pointer_ = (pointer_ & ~(kind_.page - 1)) | ((pointer_ + 1) & (kind_.page - 1)); }

bool Eeprom::write(std::uint8_t, std::span<const std::uint8_t> bytes) {
  const auto data = takeAddress(bytes);
  for (const std::uint8_t byte : data) {
    memory_[pointer_] = byte;
    stepInPage();
  }
  if (!data.empty()) {
    busyUntil_ = clock_.now() + clock_.scaled(kWriteTime);
  }
  return true;
}

bool Eeprom::read(std::uint8_t, std::span<const std::uint8_t> index, std::span<std::uint8_t> result) {
  // Bytes behind the address move the pointer, but are programmed at a stop
  // condition only, and a read has none there.
  for (std::size_t extra = takeAddress(index).size(); extra > 0; --extra) {
    stepInPage();
  }
  for (std::uint8_t& byte : result) {
    byte = memory_[pointer_];
    pointer_ = (pointer_ + 1) % kind_.size;
  }
  return true;
}

}  // namespace simulator
