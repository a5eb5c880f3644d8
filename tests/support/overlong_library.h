#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// A device library, linked into the test itself, that writes beyond its buffers: every
/// output gets as many bytes as the contract allows, plus some more.
namespace overlong {

/// Sets what all operations do from now on.
/// @param answer  bytes written to each output, from the first one; then 0x41
/// @param excess  number of bytes too many for each output
/// @param length  result of the operations that return a length
void behave(std::vector<std::uint8_t> answer, std::size_t excess, std::int32_t length);

}  // namespace overlong
