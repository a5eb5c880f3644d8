#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>
#include <span>

class QFileDevice;

/// EDID tables in files: the raw bytes, nothing before or after.
namespace edid {

/// The largest table the device takes or gives, in bytes.
inline constexpr qint64 kMaxTableSize = 512;

/// Writes a table into an empty file, open without a buffer (which would hide a
/// full disk until the file is closed). A file that does not take all of it is
/// emptied again: a part of a table must not pass for one.
/// @return false when the file did not take it
bool writeTable(QFileDevice& file, std::span<const std::uint8_t> table);

/// The first `kMaxTableSize` bytes of a file, or all of a shorter one; empty
/// when it is no file or cannot be read.
std::optional<QByteArray> readTable(const QString& path);

}  // namespace edid
