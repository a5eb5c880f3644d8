#pragma once

#include <cstdint>
#include <optional>

/// Registers of the external MCU, a slave on the device's I2C bus. The calling
/// thread waits for the bus; no lock is taken.
namespace device {

/// The bus index that the device library knows the I2C bus by.
inline constexpr std::uint8_t kI2cBus = 3;

/// 7-bit slave address of the MCU while it runs its application firmware.
inline constexpr std::uint8_t kMcuApplication = 0x0D;

/// Application register: firmware version, high nibble major, low nibble minor.
inline constexpr std::uint8_t kMcuVersionRegister = 0x02;

/// Reads one register; empty when the transfer failed.
std::optional<std::uint8_t> readRegisterByte(std::uint8_t bus, std::uint8_t slave, std::uint8_t registerIndex);

}  // namespace device
