#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// The packet that the external MCU's boot loader takes: register index 0x00,
/// start marker 0x5A, command, 64 bytes of payload, checksum.
namespace device {

enum class BootCommand : std::uint8_t {
  kStart = 0xA1,
  kAddress = 0xA2,  ///< payload: flash address of the block that follows
  kData = 0xA3,     ///< payload: 64 bytes of the image
  kFinish = 0xA4,
};

inline constexpr std::size_t kBootPayloadSize = 64;
inline constexpr std::size_t kBootPacketSize = 68;

/// As it goes over the bus; the last byte is the checksum.
using BootPacket = std::array<std::uint8_t, kBootPacketSize>;

/// Builds a packet.
/// @param payload at most 64 bytes; 0x00 follows a shorter one
BootPacket bootPacket(BootCommand command, std::span<const std::uint8_t> payload = {});

/// Builds the packet that announces a block.
/// @param address flash address of the block
BootPacket bootAddressPacket(std::uint32_t address);

/// Sum of the bytes from the marker to the payload's end, modulo 256.
inline std::uint8_t checksumOf(const BootPacket& packet) { return packet.back(); }

}  // namespace device
