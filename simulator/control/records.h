/// @file
/// Records exchanged between the simulated device and its control functions.
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

/// Where a fault happens, which is also what is counted.
enum class FaultPoint {
  kOperation,  ///< calls of one operation
  kCall,       ///< calls of any operation
  // What reaches the device: calls but the session's, and each step of a burn.
  kTransfer,
  kRead,
  kWrite,
  kCaptureFlash,  ///< steps of a burn: a sector erased or a piece written
  // Inside the external MCU. A packet counts as a packet and as its command's.
  kMcuTransfer,
  kMcuReset,
  kMcuSetBoot,
  kMcuPacket,
  kMcuStart,
  kMcuAddress,
  kMcuData,
  kMcuFinish,
};

enum class FaultEffect {
  kAnswer,           ///< the call returns `status` and does nothing but write `answer` and `length`
  kDelay,            ///< the answer comes `delay` later
  kUnplug,           ///< the plug is pulled, and put back `delay` later unless that is 0
  kNotAcknowledged,  ///< not acknowledged, and nothing is taken
  kLost,             ///< done, but reported as failed
  kIgnored,          ///< reported as success, but not done
  kDamage,           ///< bytes arrive with flipped bits
  kMisread,          ///< bytes are read with flipped bits; of a packet: its checksum
  kShort,            ///< only the beginning of what is read arrives, which counts as success
  kBusy,             ///< the status stays busy for `polls` reads, or until power is cut
};

struct Fault {
  FaultPoint at = FaultPoint::kOperation;
  std::string operation = {};  ///< of kOperation
  // When: the `first` one that is counted, from 1 since the device was made, and
  // `count` of them, 0 = all from there on.
  std::uint64_t first = 1;
  std::uint64_t count = 1;
  std::optional<unsigned> perMille = {};   ///< instead of `count`: how probable it is each time from `first` on
  std::optional<double> fromPercent = {};  ///< kCaptureFlash: counts the burns that get so far
  FaultEffect what = FaultEffect::kAnswer;
  std::int32_t status = 0;
  std::vector<std::uint8_t> answer = {};     ///< written to the caller's buffer, cut to its size
  std::optional<std::uint32_t> length = {};  ///< written to the caller's length
  std::chrono::nanoseconds delay{};
  unsigned polls = 0;  ///< of kBusy; 0 = until power is cut
};

/// The outcome of a transfer.
struct Transfer {
  std::size_t call = 0;              ///< number of its call, counted from 0 since `reset` as the calls began
  std::optional<FaultEffect> fault;  ///< what went wrong with it, if anything
  /// Of a read: the caller's buffer afterwards. Of a write: its bytes as they
  /// arrived; empty when they did not, and when the operation takes no bytes.
  std::vector<std::uint8_t> bytes;
};

}  // namespace simulator
