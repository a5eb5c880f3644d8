#include "device/regular_file.h"

#include <QFile>
#include <QFileInfo>

namespace device {

bool openRegularFile(QFile& file, QIODevice::OpenMode mode) {
  const QFileInfo info(file);
  const bool isNew = mode.testFlag(QIODevice::WriteOnly) && !info.exists();
  return (isNew || info.isFile()) && file.open(mode);
}

}  // namespace device
