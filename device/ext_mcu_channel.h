#pragma once

#include "device/result.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>

/// Register access to the slaves on the device's I2C bus, the external MCU among
/// them, over the device library's two bus operations. Any thread; the calling
/// thread waits for the bus and no lock is taken.
namespace device {

/// The bus index that the device library knows the I2C bus by.
inline constexpr std::uint8_t kI2cBus = 3;

/// 7-bit slave address of the MCU while it runs its application firmware.
inline constexpr std::uint8_t kMcuApplication = 0x0D;
/// 7-bit slave address of the MCU while it runs its boot loader.
inline constexpr std::uint8_t kMcuBootLoader = 0x43;

/// Application and boot loader, read: chip family code, 0x32 or 0x76.
inline constexpr std::uint8_t kMcuFamilyRegister = 0x00;
/// Application, read: firmware version, high nibble major, low nibble minor.
inline constexpr std::uint8_t kMcuVersionRegister = 0x02;
/// Application, write 0x01: reset into the boot loader.
inline constexpr std::uint8_t kMcuResetRegister = 0x08;
/// Boot loader, write 0x01: set boot mode; read: 0x01 = ready for a packet.
inline constexpr std::uint8_t kBootStatusRegister = 0x01;
/// Boot loader, read: checksum of the last packet as the boot loader computed it.
inline constexpr std::uint8_t kBootChecksumRegister = 0x02;

/// Writes a register index to a slave and reads as many bytes as `buffer` holds.
/// After a failure the buffer's content is undefined.
/// @param registerIndex most significant byte first
Result<> readI2c(std::uint8_t bus, std::uint8_t slave, std::span<const std::uint8_t> registerIndex,
                 std::span<std::uint8_t> buffer);

/// Writes bytes to a slave, the register index first.
/// @param bytes 1 to 65535; any other number is not sent (`kNotCalled`)
Result<> writeI2c(std::uint8_t bus, std::uint8_t slave, std::span<const std::uint8_t> bytes);

/// Reads one register.
Result<std::uint8_t> readRegister(std::uint8_t bus, std::uint8_t slave, std::uint8_t registerIndex);

/// Returned by `readRegisterByte` on failure; truncates to 0xFF.
inline constexpr std::uint32_t kReadFailed = 0xFFFFFFFF;

/// Reads one register; `kReadFailed` when the transfer failed.
std::uint32_t readRegisterByte(std::uint8_t bus, std::uint8_t slave, std::uint8_t registerIndex);

/// Writes one register; false when the transfer failed.
bool writeRegisterByte(std::uint8_t bus, std::uint8_t slave, std::uint8_t registerIndex, std::uint8_t value);

/// Reads as many bytes as `buffer` holds, from one register on; false when the
/// transfer failed, the buffer's content is then undefined.
bool readRegisterBlock(std::uint8_t bus, std::uint8_t slave, std::uint8_t registerIndex,
                       std::span<std::uint8_t> buffer);

/// Writes bytes to one register; false when the transfer failed.
/// @param buffer the register index followed by the bytes; at most 65535 in all,
///               a longer one is not sent
bool writeRegisterBlock(std::uint8_t bus, std::uint8_t slave, std::span<const std::uint8_t> buffer);

/// Reads the checksum that the boot loader computed over the last packet;
/// `kReadFailed` when the transfer failed.
std::uint32_t readBootChecksum();

/// Whether a checksum as `readBootChecksum` gives it is the expected one. A failed
/// read counts as 0xFF, which is then taken for a match.
constexpr bool packetChecksumMatches(std::uint32_t computed, std::uint8_t expected) {
  return static_cast<std::uint8_t>(computed) == expected;
}

/// Blocks the calling thread for the given time.
using Pause = std::function<void(std::chrono::milliseconds)>;

/// Polls the boot loader until it is ready for the next packet, 5 ms apart;
/// false after 100 polls that did not find it so.
bool waitForBootLoaderReady(const Pause& pause);

}  // namespace device
