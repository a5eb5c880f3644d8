#pragma once

#include "device/boot_packet.h"
#include "recorder/call_image.h"

#include <optional>
#include <span>
#include <string>

/// What calls to the external MCU's boot loader say.
namespace recorder {

/// A packet of the boot loader's, seen on the bus.
struct SeenPacket {
  device::BootCommand command;
  std::uint32_t address = 0;  ///< of kAddress
  std::uint8_t checksum = 0;  ///< as sent
  bool checksumFits = false;  ///< whether it is that of the bytes before
};

/// Where the payload lies in a packet.
inline constexpr std::size_t kPacketPayload = 3;

/// The packet that bytes on the bus are, if they are one.
std::optional<SeenPacket> packetOf(std::span<const std::uint8_t> bytes);

/// The packet that a call sends, if it sends one.
std::optional<SeenPacket> packetOf(const CallImage& image);

/// In a few words, for example "address 0x08004000, checksum 0x4A".
std::string textOf(const SeenPacket& packet);

}  // namespace recorder
