#pragma once

#include <QString>
#include <QtGlobal>

#include <limits>
#include <optional>

namespace device {

/// SHA-256 of a regular file, 64 lower-case hexadecimal digits.
/// @return empty when the file is empty, has more than `most` bytes or cannot be read
std::optional<QString> hashOfFile(const QString& path, qint64 most = std::numeric_limits<qint64>::max());

}  // namespace device
