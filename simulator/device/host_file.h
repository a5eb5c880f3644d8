#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace simulator {

/// The content of a regular file on the host; nothing when it is missing,
/// unreadable, empty or larger than `maxSize`.
/// @param path NUL-terminated UTF-8
std::optional<std::vector<std::uint8_t>> readHostFile(const char* path, std::size_t maxSize);

}  // namespace simulator
