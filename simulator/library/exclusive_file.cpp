/// @file
/// All that the simulator asks of the operating system itself.
#include "simulator/library/exclusive_file.h"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace simulator {

#if defined(_WIN32)

struct FileLock::Handle {
  HANDLE file;
};

FileLock::FileLock() = default;

FileLock::~FileLock() {
  if (handle_) {
    CloseHandle(handle_->file);
  }
}

FileLock::Result FileLock::lock(const std::filesystem::path& path) {
  // Opened for ourselves alone.
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return GetLastError() == ERROR_SHARING_VIOLATION ? Result::kInUse : Result::kFailed;
  }
  handle_ = std::make_unique<Handle>(Handle{file});
  return Result::kLocked;
}

bool flushToDisk(const std::filesystem::path& path) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return false;
  }
  const bool flushed = FlushFileBuffers(file) != 0;
  CloseHandle(file);
  return flushed;
}

#else

struct FileLock::Handle {
  int file;
};

FileLock::FileLock() = default;

FileLock::~FileLock() {
  if (handle_) {
    close(handle_->file);
  }
}

FileLock::Result FileLock::lock(const std::filesystem::path& path) {
  // A pipe of that name would keep us waiting.
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW, 0666);
  if (file < 0) {
    return Result::kFailed;
  }
  if (flock(file, LOCK_EX | LOCK_NB) == 0) {
    handle_ = std::make_unique<Handle>(Handle{file});
    return Result::kLocked;
  }
  const bool inUse = errno == EWOULDBLOCK;
  close(file);
  return inUse ? Result::kInUse : Result::kFailed;
}

bool flushToDisk(const std::filesystem::path& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) {
    return false;
  }
  const bool flushed = fsync(file) == 0;
  close(file);
  return flushed;
}

#endif

}  // namespace simulator
