#pragma once

#include <cstdint>

namespace firmware {

/// A burn's progress as the device library reports it, cut to whole percent
/// towards zero. A value beyond 32 bits becomes the nearest that fits, NaN
/// becomes 0.
std::int32_t wholePercent(float percent);

}  // namespace firmware
