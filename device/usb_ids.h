#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace device {

/// What tells one device model from another on the USB bus.
struct UsbIds {
  std::uint32_t vid = 0;
  std::uint32_t pid = 0;

  bool operator==(const UsbIds&) const = default;
};

/// The ids typed into two hexadecimal fields. Empty when either is blank; a text
/// that is no number counts as 0.
std::optional<UsbIds> typedUsbIds(const QString& vid, const QString& pid);

}  // namespace device
