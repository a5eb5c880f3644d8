#include "recorder/packets.h"

#include <array>
#include <cstdio>
#include <numeric>

namespace recorder {

std::optional<SeenPacket> packetOf(std::span<const std::uint8_t> bytes) {
  if (bytes.size() != device::kBootPacketSize || bytes[0] != 0x00 || bytes[1] != 0x5A || bytes[2] < 0xA1 ||
      bytes[2] > 0xA4) {
    return std::nullopt;
  }
  SeenPacket packet{static_cast<device::BootCommand>(bytes[2])};
  if (packet.command == device::BootCommand::kAddress) {
    for (const std::uint8_t byte : bytes.subspan(kPacketPayload, 4)) {
      packet.address = packet.address << 8 | byte;
    }
  }
  packet.checksum = bytes.back();
  packet.checksumFits =
      packet.checksum == static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end() - 1, 0U));
  return packet;
}

std::optional<SeenPacket> packetOf(const CallImage& image) {
  if (image.operation != device::Operation::AT_System_Send_ExternalMCU_cmd) {
    return std::nullopt;
  }
  return packetOf(image.inputs[3].bytes);
}

std::string textOf(const SeenPacket& packet) {
  std::array<char, 64> text{};
  const unsigned checksum = packet.checksum;
  const char* const wrong = packet.checksumFits ? "" : " (wrong)";
  switch (packet.command) {
    case device::BootCommand::kStart:
      std::snprintf(text.data(), text.size(), "start, checksum 0x%02X%s", checksum, wrong);
      break;
    case device::BootCommand::kAddress:
      std::snprintf(text.data(), text.size(), "address 0x%08X, checksum 0x%02X%s", packet.address, checksum, wrong);
      break;
    case device::BootCommand::kData:
      std::snprintf(text.data(), text.size(), "64 bytes of data, checksum 0x%02X%s", checksum, wrong);
      break;
    case device::BootCommand::kFinish:
      std::snprintf(text.data(), text.size(), "finish, checksum 0x%02X%s", checksum, wrong);
      break;
  }
  return text.data();
}

}  // namespace recorder
