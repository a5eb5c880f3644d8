#pragma once

#include "cli/device_lock.h"
#include "cli/run.h"

#include <memory>

namespace cli {

/// The library, loaded, and the lock that keeps a second instance off the device:
/// for a command that opens and closes the port by itself. Both are given back
/// when this goes.
class DeviceHold {
 public:
  /// @param deadline how long to wait for whoever holds the device
  /// @throws Failure (library, in use, interrupted)
  DeviceHold(Run& run, std::chrono::steady_clock::time_point deadline);
  ~DeviceHold();
  DeviceHold(const DeviceHold&) = delete;
  DeviceHold& operator=(const DeviceHold&) = delete;

 private:
  std::unique_ptr<DeviceLock> lock_;
};

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
  void open();

  Run& run_;
  std::chrono::steady_clock::time_point deadline_;
  DeviceHold hold_;
  bool isOpen_ = false;
};

/// The file of the library that a run uses.
QString libraryFile(const Run& run);

/// The library that a run uses, without the device.
/// @throws Failure (library)
void loadLibrary(Run& run);

/// The file that keeps a second instance off the device.
QString lockFile(const Run& run);

}  // namespace cli
