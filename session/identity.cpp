#include "session/identity.h"

#include "device/text.h"

#include <algorithm>

namespace session {

QString mainVersionText(std::uint8_t version) { return QStringLiteral("v%1.%2").arg(version >> 4).arg(version & 0x0F); }

QString usbStringText(std::span<const std::uint8_t> buffer, std::int32_t length) {
  const auto claimed = static_cast<std::size_t>(std::max(length, 0));
  return device::latin1Text(buffer.first(std::min(claimed, buffer.size())));
}

}  // namespace session
