#pragma once

#include "recorder/call_image.h"

#include <string>

/// Calls as people read them, in one printable line.
namespace recorder {

/// "AT_EDID_Set_EDID_mode(mode=2)"; long bytes are cut.
std::string textOf(const CallImage& image);

/// Where two calls' inputs differ first, for example "bytes, byte 5: 0x12
/// instead of 0x13"; empty when they do not.
std::string differenceBetween(const CallImage& expected, const CallImage& got);

}  // namespace recorder
