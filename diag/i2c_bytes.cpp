#include "diag/i2c_bytes.h"

namespace diag {

std::optional<std::uint8_t> slaveAddress(std::uint32_t busAddress) {
  if (busAddress > 0xFF) {
    return std::nullopt;
  }
  return static_cast<std::uint8_t>(busAddress >> 1);
}

QByteArray bigEndianBytes(std::uint32_t value) {
  QByteArray bytes;
  do {
    bytes.prepend(static_cast<char>(value & 0xFF));
    value >>= 8;
  } while (value != 0);
  return bytes;
}

QString hexNumber(const QByteArray& bytes) { return QString::fromLatin1(bytes.toHex().toUpper()); }

}  // namespace diag
