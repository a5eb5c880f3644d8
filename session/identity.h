#pragma once

#include <QString>

#include <cstdint>
#include <span>

namespace session {

/// Version text of the external MCU's firmware: high nibble, low nibble.
QString mainVersionText(std::uint8_t version);

/// A USB string as the device library reports it.
/// @param buffer what the library filled
/// @param length the length it claims; trusted no further than the buffer
QString usbStringText(std::span<const std::uint8_t> buffer, std::int32_t length);

}  // namespace session
