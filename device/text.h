#pragma once

#include <QString>

#include <cstdint>
#include <span>

namespace device {

/// Text that the device library left in `buffer`: up to the first NUL, or all
/// of the buffer when there is none.
QString latin1Text(std::span<const std::uint8_t> buffer);
QString utf8Text(std::span<const std::uint8_t> buffer);

/// A text, and the length in bytes that the library reported with it, which
/// need not be true.
struct ReportedText {
  QString text;
  std::uint32_t reportedLength = 0;
};

}  // namespace device
