#include "cli/result_file.h"

#include "cli/failure.h"
#include "device/regular_file.h"

#include <QFile>
#include <QSaveFile>

namespace cli {

void writeResultFile(const QString& path, const QByteArray& content) {
  // It would be replaced by a file, a device of the system included.
  if (device::isOtherThanFile(path)) {
    throw Failure(ExitCode::kFailed, QStringLiteral("cannot write %1: it is no file").arg(path));
  }
  QSaveFile file(path);
  // What stays in a buffer until `commit` may be lost there without an error.
  if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || file.write(content) != content.size() ||
      !file.commit()) {
    throw Failure(ExitCode::kFailed, QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
  }
}

QByteArray readInputFile(const QString& path, qint64 most) {
  QFile file(path);
  if (!device::openRegularFile(file, QIODevice::ReadOnly)) {
    throw Failure(ExitCode::kRefused, QStringLiteral("cannot read %1").arg(path));
  }
  if (file.size() > most) {
    throw Failure(ExitCode::kRefused, QStringLiteral("%1 is larger than %2 bytes").arg(path).arg(most));
  }
  QByteArray content = file.readAll();
  if (file.error() != QFileDevice::NoError) {
    throw Failure(ExitCode::kRefused, QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
  }
  return content;
}

}  // namespace cli
