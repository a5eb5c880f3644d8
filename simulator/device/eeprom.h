#pragma once

#include "simulator/device/clock.h"
#include "simulator/device/i2c_bus.h"

#include <chrono>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace simulator {

/// A serial EEPROM of the 24Cxx kind. Its address comes first in every
/// transfer, most significant byte first; reads run on over the end of the
/// memory, writes over the end of their page. After a write it does not answer
/// until it has programmed the page.
class Eeprom : public I2cTarget {
 public:
  struct Kind {
    std::size_t addressBytes;  ///< 1 or 2
    std::size_t size;          ///< bytes, a power of two
    std::size_t page;          ///< bytes, a power of two
  };
  static constexpr Kind k24C02{1, 256, 8};
  static constexpr Kind k24C64{2, 8192, 32};
  static constexpr std::chrono::milliseconds kWriteTime{5};

  /// @param clock the device's; must outlive the chip
  Eeprom(std::uint8_t busAddress, Kind kind, const Clock& clock);

  /// Puts bytes into the memory as production does; what does not fit is dropped.
  void program(std::size_t address, std::span<const std::uint8_t> bytes);
  std::span<const std::uint8_t> content() const { return memory_; }
  std::span<std::uint8_t> memory() { return memory_; }
  std::uint8_t busAddress() const { return busAddress_; }
  std::chrono::nanoseconds readyAt() const { return busyUntil_; }
  void powerCycle() { pointer_ = 0; }

  bool answersAt(std::uint8_t address) const override;
  bool write(std::uint8_t address, std::span<const std::uint8_t> bytes) override;
  bool read(std::uint8_t address, std::span<const std::uint8_t> index, std::span<std::uint8_t> result) override;

 private:
  /// Takes the address at the beginning of a transfer and gives what follows.
  std::span<const std::uint8_t> takeAddress(std::span<const std::uint8_t> bytes);
  void stepInPage();

  std::uint8_t busAddress_;
  Kind kind_;
  const Clock& clock_;
  std::vector<std::uint8_t> memory_;
  std::size_t pointer_ = 0;
  std::chrono::nanoseconds busyUntil_{};
};

}  // namespace simulator
