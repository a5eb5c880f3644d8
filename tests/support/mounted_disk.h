#pragma once

#include <QFile>
#include <QString>

#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

/// Exit code that tells CTest that this system does not allow the test.
constexpr int kSkipped = 77;

/// Gives this process and its children their own mounts, which disappear with them. Call
/// while there is only one thread.
/// @return why that is impossible; empty = done
inline QString enterOwnMounts() {
  const auto reason = [](const char* what) { return QStringLiteral("%1: %2").arg(what, std::strerror(errno)); };
  const uid_t user = geteuid();
  const gid_t group = getegid();
  if (unshare(CLONE_NEWNS | (user == 0 ? 0 : CLONE_NEWUSER)) != 0) {
    return reason("cannot have its own mounts");
  }
  if (user != 0) {
    const auto write = [](const char* name, const QByteArray& text) {
      QFile file(name);
      return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
    };
    if (!write("/proc/self/setgroups", "deny") ||
        !write("/proc/self/uid_map", "0 " + QByteArray::number(user) + " 1") ||
        !write("/proc/self/gid_map", "0 " + QByteArray::number(group) + " 1")) {
      return reason("cannot be root of its own mounts");
    }
  }
  // Keeps these mounts invisible elsewhere.
  if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    return reason("cannot keep its mounts to itself");
  }
  return {};
}

/// A small disk in memory, mounted at a folder during this object's lifetime.
class MountedDisk {
 public:
  /// @param folder must exist
  MountedDisk(const QString& folder, int kibibytes) : folder_(QFile::encodeName(folder)) {
    const QByteArray size = "size=" + QByteArray::number(kibibytes) + "k";
    isMounted_ = mount("none", folder_.constData(), "tmpfs", 0, size.constData()) == 0;
    problem_ = isMounted_ ? QString() : QStringLiteral("cannot mount a disk: %1").arg(std::strerror(errno));
  }
  ~MountedDisk() {
    if (isMounted_) {
      umount2(folder_.constData(), MNT_DETACH);
    }
  }
  MountedDisk(const MountedDisk&) = delete;
  MountedDisk& operator=(const MountedDisk&) = delete;

  /// Why the disk is missing; empty = it is mounted.
  QString problem() const { return problem_; }

  bool setReadOnly(bool readOnly) {
    unsigned long flags = MS_REMOUNT;
    if (readOnly) {
      flags |= MS_RDONLY;
    }
    return mount("none", folder_.constData(), nullptr, flags, nullptr) == 0;
  }

  /// Fills the disk until this many bytes are free, in blocks of 4 KiB.
  bool fillUpTo(qint64 left) {
    struct statvfs disk {};
    if (statvfs(folder_.constData(), &disk) != 0) {
      return false;
    }
    QFile ballast(QFile::decodeName(folder_ + "/ballast"));
    const qint64 free = static_cast<qint64>(disk.f_bavail) * static_cast<qint64>(disk.f_bsize);
    const QByteArray bytes(static_cast<int>(std::max<qint64>(free - left, 0)), 'x');
    return ballast.open(QIODevice::WriteOnly) && ballast.write(bytes) == bytes.size() && ballast.flush();
  }
  void makeRoom() { QFile::remove(QFile::decodeName(folder_ + "/ballast")); }

 private:
  QByteArray folder_;
  QString problem_;
  bool isMounted_ = false;
};
