#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace device {

/// Reads a typed hexadecimal number: at most 32 bits, blanks around it and a
/// "0x" in front allowed. Empty for anything else.
inline std::optional<std::uint32_t> parseHex(const QString& text) {
  bool isNumber = false;
  const std::uint32_t value = text.toUInt(&isNumber, 16);
  return isNumber ? std::optional(value) : std::nullopt;
}

/// As `parseHex`, but a text that is no number counts as 0: the rule for every
/// hexadecimal field of the window.
inline std::uint32_t hexOrZero(const QString& text) { return parseHex(text).value_or(0); }

}  // namespace device
