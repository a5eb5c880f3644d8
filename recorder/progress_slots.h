#pragma once

#include "device/RTICE_SDK_x64.h"

#include <cstdint>

/// Stands between the library and a program's progress callbacks. These carry
/// nothing that tells which call they belong to, so each call under way gets a
/// function of its own.
namespace recorder {

/// Told of each callback before the program is; any thread.
class ProgressListener {
 public:
  virtual void progressed(std::uint64_t call, float percent) = 0;

 protected:
  ~ProgressListener() = default;
};

/// One call's place. The function stays in use after the call, for callbacks
/// that come late, until many other calls have taken places.
class ProgressSlot {
 public:
  /// @param callback the program's; without one, or when all places are taken,
  ///                 `function` is the same
  ProgressSlot(ProgressListener& listener, std::uint64_t call, RTICE_ProgressCallback callback);
  ~ProgressSlot();
  ProgressSlot(const ProgressSlot&) = delete;
  ProgressSlot& operator=(const ProgressSlot&) = delete;

  /// What the library is to call.
  RTICE_ProgressCallback function() const { return function_; }

  /// From here on the listener is not called any more; the programs are.
  static void forget(const ProgressListener& listener);

 private:
  int index_ = -1;
  RTICE_ProgressCallback function_;
};

}  // namespace recorder
