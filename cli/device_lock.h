#pragma once

#include <QString>

#include <memory>

namespace cli {

/// Keeps a second process off a device, and tells it who has it. Ends with the
/// process, however that ends.
class DeviceLock {
 public:
  enum class Result { kLocked, kInUse, kFailed };

  struct Owner {
    qint64 process = 0;  ///< its number; 0 = not known
    QString program;
  };

  /// @param path of a file that has no other use; it is made when it is missing
  explicit DeviceLock(const QString& path);
  ~DeviceLock();
  DeviceLock(const DeviceLock&) = delete;
  DeviceLock& operator=(const DeviceLock&) = delete;

  /// Does not wait.
  Result tryLock();
  /// Who has it, as far as it says so.
  Owner owner() const;

 private:
  struct Handle;
  std::unique_ptr<Handle> handle_;
};

}  // namespace cli
