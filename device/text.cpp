#include "device/text.h"

#include <QByteArray>

#include <algorithm>

namespace device {
namespace {

QByteArray untilNul(std::span<const std::uint8_t> buffer) {
  const auto end = std::find(buffer.begin(), buffer.end(), std::uint8_t{0});
  return {reinterpret_cast<const char*>(buffer.data()), static_cast<int>(end - buffer.begin())};
}

}  // namespace

QString latin1Text(std::span<const std::uint8_t> buffer) { return QString::fromLatin1(untilNul(buffer)); }

QString utf8Text(std::span<const std::uint8_t> buffer) { return QString::fromUtf8(untilNul(buffer)); }

}  // namespace device
