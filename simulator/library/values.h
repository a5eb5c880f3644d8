/// @file
/// What many exported functions have in common.
#pragma once

#include "simulator/device/status.h"
#include "simulator/library/caller_buffer.h"
#include "simulator/library/library.h"

#include <cstdint>

namespace simulator {

/// Whether a caller's number means off or on.
constexpr bool isSwitch(std::int32_t value) { return value == 0 || value == 1; }

/// Runs an operation that reads one value of the device.
/// @param read gets the device and returns the value
template <typename Value, typename Read>
std::int32_t readValue(const char* operation, Value* value, Read read) {
  return Library::instance().read({.operation = operation, .output = bytesOf(value)}, [&](Device& device) -> Answer {
    if (!value) {
      return {kInvalidArgument};
    }
    Value answer = read(device);
    const std::span<const std::uint8_t> bytes = bytesOf(&answer);
    return {kOk, {bytes.begin(), bytes.end()}};
  });
}

}  // namespace simulator
