/// @file
/// Arguments of a call as the journal's text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace simulator {

/// "0x5C19", zeros in front up to `digits`.
std::string hex(std::uint32_t value, std::size_t digits);
/// "[08 01]"; "null" for a null pointer and "[70000 bytes]" for more than 1024.
std::string byteText(const std::uint8_t* data, std::size_t length);
/// "\"path\"" or "null".
std::string quoted(const char* text);

inline std::string argumentText(const std::string& text) { return text; }
inline std::string argumentText(std::int64_t value) { return std::to_string(value); }

/// The arguments with commas between them.
template <typename... Arguments>
std::string arguments(const Arguments&... values) {
  std::string text;
  ((text += (text.empty() ? "" : ", ") + argumentText(values)), ...);
  return text;
}

}  // namespace simulator
