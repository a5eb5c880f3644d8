#include "device/regular_file.h"

#include <QFile>
#include <QFileInfo>

namespace device {

bool isOtherThanFile(const QString& path) {
  const QFileInfo info(path);
  return info.exists() && !info.isFile();
}

bool openRegularFile(QFile& file, QIODevice::OpenMode mode) {
  return !isOtherThanFile(file.fileName()) && file.open(mode);
}

}  // namespace device
