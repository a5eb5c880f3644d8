#include "simulator/device/clock.h"

namespace simulator {

std::chrono::nanoseconds Clock::now() const {
  return stopped_ ? offset_ : std::chrono::steady_clock::now() - start_ + offset_;
}

void Clock::stop() {
  offset_ = now();
  stopped_ = true;
}

std::chrono::nanoseconds Clock::scaled(std::chrono::nanoseconds nominal) const {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(nominal) / speedFactor_);
}

}  // namespace simulator
