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
  return Library::instance().call({.operation = operation, .output = bytesOf(value)}, [&](Device& device) {
    if (!value) {
      return kInvalidArgument;
    }
    *value = read(device);
    return kOk;
  });
}

}  // namespace simulator
