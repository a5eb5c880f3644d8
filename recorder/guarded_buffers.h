#pragma once

#include "recorder/call_image.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace recorder {

/// Bytes that the library wrote where it must not.
struct Overrun {
  std::string_view parameter;
  std::size_t before = 0;  ///< changed bytes in front of the buffer
  std::size_t within = 0;  ///< changed bytes of a buffer that is only to be read
  std::size_t after = 0;   ///< changed bytes behind the buffer
  std::size_t reach = 0;   ///< how far behind the buffer the last of them lies, from 1
};

/// Hands the library copies of a call's buffers, each between guard bytes. What
/// it writes beyond the contract never reaches the program. A byte that is
/// written with the guard's own value goes unnoticed.
class GuardedBuffers {
 public:
  /// Guard bytes on each side.
  static constexpr std::size_t kGuard = 4096;

  /// @param arguments changed to point to the copies
  GuardedBuffers(const device::OperationDescription& operation, std::span<RawArgument> arguments);

  /// Copies the outputs back; call once, after the library's return.
  std::vector<Overrun> release();

 private:
  struct Buffer {
    std::string_view parameter;
    std::span<std::uint8_t> callers;
    Bytes memory;
    Bytes before;
    bool isOutput;
  };
  std::vector<Buffer> buffers_;
};

}  // namespace recorder
