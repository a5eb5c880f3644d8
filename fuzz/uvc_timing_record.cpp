/// @file
/// The UVC output timing record, whole or truncated.
#include "fuzz/target.h"
#include "video/video_status.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto timing = video::readUvcOutputTiming({data, size});
  fuzz::require(timing.has_value() == (size >= video::kUvcOutputTimingBytes), "a record is read when it is whole");
  if (timing) {
    const QString text = video::uvcTimingText(*timing);
    const QString rate = text.section(QLatin1Char('@'), 1);
    const QString picture = text.section(QLatin1Char('@'), 0, 0);
    fuzz::require(picture.section(QLatin1Char('x'), 0, 0).toUInt() == timing->width &&
                      picture.section(QLatin1Char('x'), 1).toUInt() == timing->height &&
                      rate.toUInt() == timing->frameRateX100 / 100,
                  "the text can be read back");
  }
  return 0;
}
