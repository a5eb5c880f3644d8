#include "simulator/device/burn_control.h"

#include <utility>

namespace simulator {

void BurnControl::hold(unsigned reports) {
  {
    const std::scoped_lock lock(mutex_);
    holdAfter_ = reports;
  }
  changed_.notify_all();
}

void BurnControl::release() {
  {
    const std::scoped_lock lock(mutex_);
    holdAfter_.reset();
  }
  changed_.notify_all();
}

unsigned BurnControl::held() const {
  const std::scoped_lock lock(mutex_);
  return held_;
}

void BurnControl::replaceReports(std::vector<float> percents) {
  const std::scoped_lock lock(mutex_);
  percents_ = std::move(percents);
}

std::optional<std::vector<float>> BurnControl::replacedReports() const {
  const std::scoped_lock lock(mutex_);
  return percents_;
}

void BurnControl::reported(unsigned reports) {
  std::unique_lock lock(mutex_);
  ++held_;
  changed_.wait(lock, [&] { return !holdAfter_ || reports < *holdAfter_; });
  --held_;
}

void BurnControl::reset() {
  {
    const std::scoped_lock lock(mutex_);
    holdAfter_.reset();
    percents_.reset();
  }
  changed_.notify_all();
}

}  // namespace simulator
