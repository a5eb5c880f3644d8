#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// A device library, linked into the test itself, that writes more than it was
/// given room for: every output gets as many bytes as the contract allows, and
/// some more.
namespace overlong {

/// What all operations do from here on.
/// @param answer  the bytes that they write, from the front for each output; 0x41 follows
/// @param excess  how many bytes each output gets too many
/// @param length  what the operations return that return a length
void behave(std::vector<std::uint8_t> answer, std::size_t excess, std::int32_t length);

}  // namespace overlong
