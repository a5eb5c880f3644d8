#pragma once

#include "cli/run.h"

#include <QLockFile>

#include <memory>

namespace cli {

/// The device, opened for one command: library, lock, port. All of them are
/// given back when this goes, on whatever way.
class DeviceSession {
 public:
  /// @throws Failure (library, in use, no device, interrupted)
  explicit DeviceSession(Run& run);
  ~DeviceSession();
  DeviceSession(const DeviceSession&) = delete;
  DeviceSession& operator=(const DeviceSession&) = delete;

  /// Closes the port and opens it again as soon as the device is back, after a
  /// restart.
  /// @throws Failure (no device) when it has not come back in time
  void reopen(std::chrono::milliseconds within);

 private:
  void lock();
  void open();

  Run& run_;
  std::chrono::steady_clock::time_point deadline_;
  std::unique_ptr<QLockFile> lock_;
  bool isOpen_ = false;
};

/// The library that a run uses, without the device.
/// @throws Failure (library)
void loadLibrary(Run& run);

/// The file that keeps a second instance off the device.
QString lockFile(const Run& run);

}  // namespace cli
