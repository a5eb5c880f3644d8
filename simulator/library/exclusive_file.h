#pragma once

#include <filesystem>
#include <memory>

namespace simulator {

/// Keeps other processes away from something for as long as this lives, or
/// until the process ends, however it ends.
class FileLock {
 public:
  enum class Result { kLocked, kInUse, kFailed };

  FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock();

  /// @param path of a file that has no other use; it is made, and stays
  Result lock(const std::filesystem::path& path);

 private:
  struct Handle;
  std::unique_ptr<Handle> handle_;
};

/// Puts a closed file's content on the disk.
/// @return false when that failed
bool flushToDisk(const std::filesystem::path& path);

}  // namespace simulator
