#pragma once

#include "device/result.h"

#include <QByteArray>

#include <cstdint>

/// Registers on the device's I2C bus, and pins of the capture chip. One library
/// call each; any thread.
namespace diag {

enum class GpioGroup : std::uint8_t { kIso = 0, kMisc = 1 };

/// Pins of a group.
inline constexpr std::uint8_t kPinCount = 14;

/// Reads bytes from a slave.
/// @param slave         7-bit address
/// @param registerIndex most significant byte first
/// @param count         bytes to read, at least 1
device::Result<QByteArray> readRegister(std::uint8_t slave, const QByteArray& registerIndex, int count);

/// Writes bytes to a slave, 1 to 65535 of them with the register index.
device::Result<> writeRegister(std::uint8_t slave, const QByteArray& registerIndex, const QByteArray& bytes);

/// @param pin 0 to 13
device::Result<std::uint8_t> readPin(GpioGroup group, std::uint8_t pin);
device::Result<> writePin(GpioGroup group, std::uint8_t pin, std::uint8_t value);

}  // namespace diag
