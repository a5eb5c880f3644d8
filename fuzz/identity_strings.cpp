/// @file
/// Identity strings: four bytes of reported length (little-endian), then the buffer as
/// the library left it. The buffer's first byte also serves as a version.
#include "device/bytes.h"
#include "device/text.h"
#include "fuzz/target.h"
#include "session/identity.h"

#include <algorithm>
#include <span>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span input(data, size);
  if (size < 4) {
    return 0;
  }
  const auto length = static_cast<std::int32_t>(device::readU32le(input, 0));
  const std::span buffer = input.subspan(4);
  const auto terminated = std::find(buffer.begin(), buffer.end(), std::uint8_t{0}) - buffer.begin();

  const QString latin1 = device::latin1Text(buffer);
  fuzz::require(latin1.size() == terminated, "Latin-1 text ends at the NUL or with the buffer");
  fuzz::require(device::utf8Text(buffer).size() <= terminated, "UTF-8 text is no longer than its bytes");
  const QString usb = session::usbStringText(buffer, length);
  fuzz::require(latin1.startsWith(usb) && usb.size() <= std::max(length, 0), "a claimed length only cuts the text");
  if (!buffer.empty()) {
    fuzz::require(session::mainVersionText(buffer.front()).startsWith(QLatin1Char('v')), "a version has its letter");
  }
  return 0;
}
