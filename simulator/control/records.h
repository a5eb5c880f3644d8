/// @file
/// What the control functions hand over, and the model of the device knows as well.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace simulator {

/// One call of a library operation, as it happened.
struct JournalEntry {
  std::string operation;                ///< for example "setDevice"
  std::string arguments;                ///< for example "0, 0, 0x5C19, 0x6B03"; bytes as "[08 01]"
  std::int32_t result = 0;              ///< what the operation returned
  std::chrono::nanoseconds duration{};  ///< on the simulated device's clock
  std::thread::id thread;               ///< the caller's
};

/// How a device lies: rates in transfers of a thousand. A transfer is a call
/// that reaches the device, or one step of a burn; none of the session's calls.
struct Lies {
  std::uint64_t seed = 1;    ///< decides, for the same calls, all lies
  unsigned flipRead = 0;     ///< one to three bits of what is read are wrong
  unsigned flipWrite = 0;    ///< one to three bits of the bytes that are written arrive wrong
  unsigned shortRead = 0;    ///< only the beginning of what is read arrives, which counts as success
  unsigned silentWrite = 0;  ///< a write, whatever it writes, succeeds and does nothing
  /// How many transfers are acknowledged; all others fail. Unset = all are.
  std::optional<unsigned> acknowledged = std::nullopt;
};

/// What came of a transfer of a device that lies.
struct Transfer {
  enum class Lie { kNone, kFlippedRead, kFlippedWrite, kShortRead, kSilentWrite, kNoAcknowledge };
  std::size_t call = 0;  ///< number of its call, counted from 0 since `reset` as the calls began
  Lie lie = Lie::kNone;
  /// Of a read: the caller's buffer afterwards. Of a write: its bytes as they
  /// arrived; empty when they did not, and when the operation takes no bytes.
  std::vector<std::uint8_t> bytes;
};

/// A fault of the external MCU, or of the bus to it.
struct McuFault {
  /// What is counted. A packet counts as a packet and as its command's.
  enum class At { kTransfer, kReset, kSetBoot, kPacket, kStart, kAddress, kData, kFinish };
  enum class Kind {
    kNotAcknowledged,  ///< the MCU does not acknowledge and takes nothing
    kLostReply,        ///< the MCU does its part, but the transfer is reported as failed
    kDamage,           ///< a packet arrives with one bit flipped
    kWrongChecksum,    ///< a packet is taken well, but its checksum reads back wrong
    kStaysBusy,        ///< after set-boot or a packet, the status stays busy for `polls` reads
  };
  At at = At::kTransfer;
  Kind kind = Kind::kNotAcknowledged;
  unsigned number = 1;  ///< the first one concerned, counted from 1 since `reset`
  unsigned count = 1;   ///< how many are concerned; 0 = all from there on
  unsigned polls = 0;   ///< of kStaysBusy; 0 = until power is cut
};

}  // namespace simulator
