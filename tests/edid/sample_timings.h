/// @file
/// Timings of CTA-861-H (by video code) and VESA DMT (by name).
#pragma once

#include "tests/edid/edid_builder.h"

namespace edid_test {

inline constexpr Timing k480p60{27'000, {720, 16, 62, 60, false}, {480, 9, 6, 30, false}, false};
inline constexpr Timing k576p50{27'000, {720, 12, 64, 68, false}, {576, 5, 5, 39, false}, false};
inline constexpr Timing k720p60{74'250, {1280, 110, 40, 220, true}, {720, 5, 5, 20, true}, false};
inline constexpr Timing k720p50{74'250, {1280, 440, 40, 220, true}, {720, 5, 5, 20, true}, false};
inline constexpr Timing k1080i60{74'250, {1920, 88, 44, 148, true}, {540, 2, 5, 15, true}, true};
inline constexpr Timing k1080p60{148'500, {1920, 88, 44, 148, true}, {1080, 4, 5, 36, true}, false};
inline constexpr Timing k1080p50{148'500, {1920, 528, 44, 148, true}, {1080, 4, 5, 36, true}, false};
inline constexpr Timing k2160p24{297'000, {3840, 1276, 88, 296, true}, {2160, 8, 10, 72, true}, false};
inline constexpr Timing k2160p30{297'000, {3840, 176, 88, 296, true}, {2160, 8, 10, 72, true}, false};
inline constexpr Timing k2160p60{594'000, {3840, 176, 88, 296, true}, {2160, 8, 10, 72, true}, false};
inline constexpr Timing kXga60{65'000, {1024, 24, 136, 160, false}, {768, 3, 6, 29, false}, false};
inline constexpr Timing kWxga60{85'500, {1366, 70, 143, 213, true}, {768, 3, 3, 24, true}, false};
inline constexpr Timing kSxga60{108'000, {1280, 48, 112, 248, true}, {1024, 1, 3, 38, true}, false};
inline constexpr Timing kUxga60{162'000, {1600, 64, 192, 304, true}, {1200, 1, 3, 46, true}, false};
inline constexpr Timing kUxga85{229'500, {1600, 64, 192, 304, true}, {1200, 1, 3, 46, true}, false};

}  // namespace edid_test
