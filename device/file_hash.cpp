#include "device/file_hash.h"

#include "device/regular_file.h"

#include <QCryptographicHash>
#include <QFile>

namespace device {

std::optional<QString> hashOfFile(const QString& path, qint64 most) {
  QFile file(path);
  QCryptographicHash hash(QCryptographicHash::Sha256);
  if (!openRegularFile(file, QIODevice::ReadOnly) || file.size() == 0 || file.size() > most || !hash.addData(&file)) {
    return std::nullopt;
  }
  return QString::fromLatin1(hash.result().toHex());
}

}  // namespace device
