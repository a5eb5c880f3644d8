/// @file
/// The receiver's raw timing record, whole or truncated.
#include "fuzz/target.h"
#include "video/rx_timing.h"

#include <initializer_list>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto info = video::readRawTimingInfo({data, size});
  fuzz::require(info.has_value() == (size >= video::kRawTimingInfoBytes), "a record is read when it is whole");
  if (info) {
    for (const QString& text :
         {video::scanText(info->flags), video::hdmiModeText(info->hdmiMode), video::colorSpaceText(info->colorSpace),
          video::colorDepthText(info->colorDepth), video::colorRangeText(info->colorRange),
          video::rxHdcpText(info->hdcpVersion), video::hdrText(info->hdrType)}) {
      fuzz::require(!text.isEmpty(), "every code has a text");
    }
    fuzz::require(info->pllPixelClockX1024 >> 24 == data[0x23], "the last byte is the clock's highest");
  }
  return 0;
}
