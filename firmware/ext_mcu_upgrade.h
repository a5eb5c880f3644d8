#pragma once

#include "device/ext_mcu_channel.h"
#include "firmware/upgrade_events.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace firmware {

/// How strict an upgrade is. As it stands, what the window does.
struct UpgradeOptions {
  /// A checksum that could not be read is read again, and a start, address or
  /// finish packet whose checksum stays unread is sent again: neither counts as
  /// taken. Nor does one with the checksum of the packet before when its own
  /// transfer failed. Data packets are never sent twice: the boot loader would
  /// append them.
  bool requireChecksum = false;

  /// Asked before each packet; true ends the upgrade there. The MCU then stays in
  /// its boot loader, ready for another upgrade.
  std::function<bool()> stopRequested = {};
};

/// The outcome of an upgrade.
struct UpgradeResult {
  UpgradeOutcome outcome = UpgradeOutcome::kDone;
  std::size_t packets = 0;            ///< that counted as taken
  std::size_t unverifiedPackets = 0;  ///< of these: checksum never read
  std::size_t repeatedChecksums = 0;  ///< of these: checksum equal to the one before
};

/// Upgrades the external MCU's firmware: puts the MCU into its boot loader
/// unless it is there already, sends the image block by block and has the boot
/// loader start it. Returns when the upgrade has ended, well or not. Talks to the
/// MCU over `device/ext_mcu_channel.h`, on the calling thread.
///
/// Unless the options say otherwise, the checksum check takes a failed read for
/// 0xFF, so that a packet with that checksum may count as taken without having
/// been verified.
///
/// @param image     the firmware file as it is, from the family's first flash
///                  address on
/// @param connected a device session is open
/// @param pause     all waiting goes through it
UpgradeResult upgradeExtMcu(std::span<const std::uint8_t> image, bool connected, const device::Pause& pause,
                            const UpgradeListener& listener, const UpgradeOptions& options = {});

}  // namespace firmware
