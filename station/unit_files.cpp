#include "station/unit_files.h"

#include "device/regular_file.h"
#include "station/file_limits.h"

#include <QCryptographicHash>
#include <QFile>

namespace station {
namespace {

tl::expected<QByteArray, QString> readHeld(const QString& path, const QString& sha256) {
  QFile file(path);
  if (!device::openRegularFile(file, QIODevice::ReadOnly)) {
    return tl::make_unexpected(QStringLiteral("%1 cannot be read").arg(path));
  }
  const QByteArray bytes = file.read(kMostImageBytes);
  if (file.error() != QFileDevice::NoError || !file.atEnd()) {
    return tl::make_unexpected(QStringLiteral("%1 cannot be read whole").arg(path));
  }
  const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
  if (QString::fromLatin1(hash) != sha256) {
    return tl::make_unexpected(
        QStringLiteral("%1 is not the file of the job: its SHA-256 is %2").arg(path, QString::fromLatin1(hash)));
  }
  return bytes;
}

}  // namespace

tl::expected<UnitFiles, QString> readUnitFiles(const Job& job) {
  UnitFiles files;
  if (job.mcu) {
    const auto image = readHeld(job.mcu->path, job.mcu->sha256);
    if (!image) {
      return tl::make_unexpected(image.error());
    }
    files.mcu = *image;
  }
  for (const EdidTable& table : job.edid.tables) {
    const auto bytes = readHeld(table.path, table.sha256);
    if (!bytes) {
      return tl::make_unexpected(bytes.error());
    }
    files.edid[table.slot] = *bytes;
  }
  return files;
}

QString mistakeInFile(const QString& path, const QString& sha256) {
  const auto bytes = readHeld(path, sha256);
  return bytes ? QString() : bytes.error();
}

}  // namespace station
