#pragma once

#include "device/boot_packet.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <variant>

/// What an upgrade of the external MCU tells of its course, in numbers.
/// `windowTexts` has the window's words for it.
namespace firmware {

/// The upgrade begins. The first event of every upgrade.
struct UpgradeBegun {};

/// The MCU has answered, in its application or already in its boot loader.
struct McuFound {
  std::uint8_t familyCode;
  bool inBootLoader;
  std::size_t blocks;  ///< that the image takes
};

/// The MCU has left its application for its boot loader.
struct BootLoaderEntered {
  std::size_t blocks;
};

enum class UpgradeStep : std::uint8_t { kReset, kSetBoot, kStart, kBlocks, kFinish };

/// A step begins.
struct StepBegun {
  UpgradeStep step;
};

/// One sending of a packet.
struct PacketAttempt {
  device::BootCommand command;
  int attempt;  ///< counted from 0; data packets have one only
  std::uint8_t checksum;
};

/// The checksum read back is not the packet's: it counts as not taken.
struct PacketRefused {
  PacketAttempt packet;
};

/// The checksum could not be read back, so it is unknown what arrived.
struct PacketUnverified {
  PacketAttempt packet;
  bool accepted;  ///< the upgrade continues as if it had arrived
};

/// The packet counts as taken, but its checksum equals that of the packet before:
/// reading it back cannot tell the two apart.
struct ChecksumRepeated {
  PacketAttempt packet;
};

/// A block has been sent.
struct BlockSent {
  std::size_t block;  ///< counted from 0
  std::size_t blocks;
};

enum class UpgradeOutcome : std::uint8_t {
  kDone,
  // Nothing was sent:
  kNoImage,
  kNotConnected,
  kNoKnownMcu,  ///< no answer, or that of an unknown chip family
  // The MCU stays in its boot loader, or where it was:
  kResetFailed,
  kSetBootFailed,
  kNotReady,  ///< the boot loader did not become ready for the next packet
  kStartRefused,
  kAddressRefused,
  kDataRefused,
  kFinishRefused,
  kStopped,  ///< on request, between two packets
};

/// The last event of every upgrade.
struct UpgradeEnded {
  UpgradeOutcome outcome;
};

using UpgradeEvent = std::variant<UpgradeBegun, McuFound, BootLoaderEntered, StepBegun, PacketRefused, PacketUnverified,
                                  ChecksumRepeated, BlockSent, UpgradeEnded>;

/// Gets each event as it happens, on the thread that runs the upgrade.
using UpgradeListener = std::function<void(const UpgradeEvent&)>;

}  // namespace firmware
