#pragma once

#include <QString>

#include <cstdint>
#include <span>

namespace device {

/// One row of a table that turns a device code into the text shown for it.
struct CodeText {
  std::uint8_t code;
  const char* text;
};

/// The text of `code`, or `other` when no row has it. Texts are Latin-1.
inline QString codeText(std::span<const CodeText> table, std::uint8_t code, const char* other) {
  for (const CodeText& row : table) {
    if (row.code == code) {
      return QLatin1String(row.text);
    }
  }
  return QLatin1String(other);
}

}  // namespace device
