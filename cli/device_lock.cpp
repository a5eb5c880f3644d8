#include "cli/device_lock.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>

#ifdef _WIN32
#include <QLockFile>
#else
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace cli {

#ifdef _WIN32

struct DeviceLock::Handle {
  QLockFile file;
};

DeviceLock::DeviceLock(const QString& path) : handle_(new Handle{QLockFile(path)}) {
  // Stale when its owner is gone, however old it is.
  handle_->file.setStaleLockTime(0);
}

DeviceLock::~DeviceLock() = default;

DeviceLock::Result DeviceLock::tryLock() {
  if (handle_->file.tryLock(0)) {
    return Result::kLocked;
  }
  return handle_->file.error() == QLockFile::LockFailedError ? Result::kInUse : Result::kFailed;
}

DeviceLock::Owner DeviceLock::owner() const {
  Owner owner;
  QString host;
  handle_->file.getLockInfo(&owner.process, &host, &owner.program);
  return owner;
}

#else

// Not QLockFile, which waits for the disk each time: longer than most commands take.
struct DeviceLock::Handle {
  explicit Handle(const QString& path) : name(QFile::encodeName(path)) {}

  QByteArray name;
  int file = -1;
  bool isLocked = false;
};

DeviceLock::DeviceLock(const QString& path) : handle_(std::make_unique<Handle>(path)) {}

DeviceLock::~DeviceLock() {
  if (handle_->file < 0) {
    return;
  }
  if (handle_->isLocked) {
    // The next process must not see our name. Another user's file stays as it is.
    static_cast<void>(ftruncate(handle_->file, 0) == 0);
  }
  close(handle_->file);
}

DeviceLock::Result DeviceLock::tryLock() {
  if (handle_->file < 0) {
    // A pipe or a link of that name must not be followed.
    constexpr int kFlags = O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW;
    handle_->file = open(handle_->name.constData(), O_RDWR | O_CREAT | kFlags, 0666);
    if (handle_->file < 0 && errno == EACCES) {
      handle_->file = open(handle_->name.constData(), O_RDONLY | kFlags);  // another user made it
    }
  }
  if (handle_->file < 0) {
    return Result::kFailed;
  }
  if (flock(handle_->file, LOCK_EX | LOCK_NB) != 0) {
    return errno == EWOULDBLOCK ? Result::kInUse : Result::kFailed;
  }
  handle_->isLocked = true;
  const QByteArray text = QByteArray::number(QCoreApplication::applicationPid()) + '\n' +
                          QCoreApplication::applicationName().toUtf8() + '\n';
  // For the message of others only.
  static_cast<void>(ftruncate(handle_->file, 0) == 0 &&
                    pwrite(handle_->file, text.constData(), static_cast<std::size_t>(text.size()), 0) == text.size());
  return Result::kLocked;
}

DeviceLock::Owner DeviceLock::owner() const {
  QByteArray text(1024, '\0');
  const ssize_t size = pread(handle_->file, text.data(), static_cast<std::size_t>(text.size()), 0);
  text.truncate(static_cast<int>(std::max<ssize_t>(size, 0)));
  const QList<QByteArray> lines = text.split('\n');
  return {lines.value(0).toLongLong(), QString::fromUtf8(lines.value(1))};
}

#endif

}  // namespace cli
