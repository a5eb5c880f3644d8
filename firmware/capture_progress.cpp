#include "firmware/capture_progress.h"

#include <cmath>
#include <limits>

namespace firmware {

std::int32_t wholePercent(float percent) {
  using Limits = std::numeric_limits<std::int32_t>;
  // 2^31, the first float too large: the largest 32-bit integer has no float of its own.
  constexpr float kBeyond = 2147483648.0F;
  if (std::isnan(percent)) {
    return 0;
  }
  if (percent >= kBeyond) {
    return Limits::max();
  }
  if (percent < -kBeyond) {
    return Limits::min();
  }
  return static_cast<std::int32_t>(percent);
}

}  // namespace firmware
