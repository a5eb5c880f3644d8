#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>

namespace station {

/// The capture chip's flash holds no more, and the MCU far less.
inline constexpr qint64 kMostImageBytes = qint64{64} * 1024 * 1024;
inline constexpr qint64 kMostKeyBytes = qint64{1024} * 1024;

/// SHA-256 of a file, 64 lower-case hexadecimal digits.
/// @return empty when the file is empty, has more than `most` bytes or cannot be read
std::optional<QString> hashOfFile(const QString& path, qint64 most);

}  // namespace station
