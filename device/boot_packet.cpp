#include "device/boot_packet.h"

#include <algorithm>
#include <cassert>
#include <numeric>

namespace device {
namespace {

constexpr std::uint8_t kPacketRegister = 0x00;
constexpr std::uint8_t kStartMarker = 0x5A;
constexpr std::size_t kPayloadOffset = 3;

}  // namespace

BootPacket bootPacket(BootCommand command, std::span<const std::uint8_t> payload) {
  assert(payload.size() <= kBootPayloadSize);
  BootPacket packet{kPacketRegister, kStartMarker, static_cast<std::uint8_t>(command)};
  std::copy(payload.begin(), payload.end(), packet.begin() + kPayloadOffset);
  // The register index does not count, being 0.
  packet.back() = static_cast<std::uint8_t>(std::accumulate(packet.begin(), packet.end() - 1, 0U));
  return packet;
}

BootPacket bootAddressPacket(std::uint32_t address) {
  const std::array<std::uint8_t, 4> bigEndian{
      static_cast<std::uint8_t>(address >> 24), static_cast<std::uint8_t>(address >> 16),
      static_cast<std::uint8_t>(address >> 8), static_cast<std::uint8_t>(address)};
  return bootPacket(BootCommand::kAddress, bigEndian);
}

}  // namespace device
