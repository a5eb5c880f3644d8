#pragma once

#include <QIODevice>

class QFile;
class QString;

namespace device {

/// Whether a path leads to something that is there and no regular file: a folder, a pipe
/// or a device.
bool isOtherThanFile(const QString& path);

/// Opens a file unless its path leads to something else: a pipe or a device
/// could block the caller for ever. A file to be written need not exist yet.
/// @return false when it is no regular file or cannot be opened
bool openRegularFile(QFile& file, QIODevice::OpenMode mode);

}  // namespace device
