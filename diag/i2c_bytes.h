#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

/// Conversion between typed numbers and bus bytes.
namespace diag {

/// The 7-bit slave address of an 8-bit bus address, whose lowest bit (read or
/// write) is dropped; empty for more than 8 bits.
std::optional<std::uint8_t> slaveAddress(std::uint32_t busAddress);

/// A number in as few bytes as hold it, 1 to 4, most significant first.
QByteArray bigEndianBytes(std::uint32_t value);

/// Bytes as one upper-case hexadecimal number, first byte most significant, two
/// digits for each.
QString hexNumber(const QByteArray& bytes);

}  // namespace diag
