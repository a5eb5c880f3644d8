#include "station/new_file.h"

#include <QDir>
#include <QFile>

#ifdef _WIN32
#include <windows.h>
#else
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>
#endif

namespace station {

// Not QFile::rename: when somebody else was quicker by a moment, it copies over
// their file.

#ifdef _WIN32

bool giveName(const QString& draft, const QString& path) {
  const auto native = [](const QString& name) { return QDir::toNativeSeparators(name).toStdWString(); };
  return MoveFileW(native(draft).c_str(), native(path).c_str()) != 0;
}

#else

bool giveName(const QString& draft, const QString& path) {
  const QByteArray from = QFile::encodeName(draft);
  const QByteArray to = QFile::encodeName(path);
  if (renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  if (errno != EINVAL && errno != ENOSYS) {
    return false;
  }
  // A file system that cannot do it.
  return link(from.constData(), to.constData()) == 0 && unlink(from.constData()) == 0;
}

#endif

}  // namespace station
