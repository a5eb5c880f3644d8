#pragma once

#include <QByteArray>
#include <QString>

namespace cli {

/// Writes a whole file, or leaves what was there.
/// @throws Failure (failed), also where something other than a file is
void writeResultFile(const QString& path, const QByteArray& content);

/// Reads a whole file that an argument names.
/// @throws Failure (refused) unless it is a regular file that can be read whole,
///         and not larger than `most` bytes
QByteArray readInputFile(const QString& path, qint64 most = qint64{64} * 1024 * 1024);

}  // namespace cli
