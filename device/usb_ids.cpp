#include "device/usb_ids.h"

#include "device/hex.h"

namespace device {

std::optional<UsbIds> typedUsbIds(const QString& vid, const QString& pid) {
  const QString vidText = vid.trimmed();
  const QString pidText = pid.trimmed();
  if (vidText.isEmpty() || pidText.isEmpty()) {
    return std::nullopt;
  }
  return UsbIds{hexOrZero(vidText), hexOrZero(pidText)};
}

}  // namespace device
