#pragma once

#include <chrono>

namespace simulator {

/// The simulated device's time, counted from the device's start. Not locked:
/// the library's state mutex guards it.
class Clock {
 public:
  std::chrono::nanoseconds now() const;

  /// Stops the clock; from here only `advance` moves it.
  void stop();
  bool isStopped() const { return stopped_; }
  /// Stops the clock for good: the device has always finished what it was at
  /// when the next call comes in.
  void skipWaiting() {
    stop();
    skipsWaiting_ = true;
  }
  bool skipsWaiting() const { return skipsWaiting_; }
  void advance(std::chrono::nanoseconds by) { offset_ += by; }

  /// How long work of a nominal duration takes at the device's speed factor.
  std::chrono::nanoseconds scaled(std::chrono::nanoseconds nominal) const;
  /// @param factor above 0; 2 = twice as fast
  void setSpeedFactor(double factor) { speedFactor_ = factor; }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::chrono::nanoseconds offset_{};
  double speedFactor_ = 1;
  bool stopped_ = false;
  bool skipsWaiting_ = false;
};

}  // namespace simulator
