#include "edid/edid_file.h"

#include <QFile>
#include <QFileInfo>

namespace edid {

bool writeTable(QFileDevice& file, std::span<const std::uint8_t> table) {
  const auto size = static_cast<qint64>(table.size());
  if (file.write(reinterpret_cast<const char*>(table.data()), size) == size) {
    return true;
  }
  file.resize(0);
  return false;
}

std::optional<QByteArray> readTable(const QString& path) {
  // Opening a pipe would wait for a writer.
  if (!QFileInfo(path).isFile()) {
    return std::nullopt;
  }
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) {
    return std::nullopt;
  }
  // Nothing behind the first table's worth of bytes is ever used.
  const QByteArray bytes = file.read(kMaxTableSize);
  return file.error() == QFileDevice::NoError ? std::optional(bytes) : std::nullopt;
}

}  // namespace edid
