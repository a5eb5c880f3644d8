#pragma once

#include <QString>

#include <cstdint>
#include <span>

namespace device {

/// Text that the device library left in `buffer`: up to the first NUL, or all
/// of the buffer when there is none.
QString latin1Text(std::span<const std::uint8_t> buffer);
QString utf8Text(std::span<const std::uint8_t> buffer);

}  // namespace device
