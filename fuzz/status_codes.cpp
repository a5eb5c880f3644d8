/// @file
/// Status bytes: HDCP versions, pixel format, audio format and rate. Each byte of the
/// input goes through every decoder.
#include "audio/audio_codes.h"
#include "fuzz/target.h"
#include "video/video_status.h"

#include <span>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  for (const std::uint8_t code : std::span(data, size)) {
    const QString hdcp = video::hdcpVersionText(code);
    fuzz::require(
        video::isTxHdcpOn(code) == (hdcp.startsWith(QLatin1String("HDCP")) && hdcp != QLatin1String("HDCP OFF")),
        "HDCP is on when the text names a version");
    fuzz::require(!video::uvcFormatText(code).isEmpty() && !audio::formatText(code).isEmpty(), "every code has a text");
    fuzz::require(audio::samplingRateText(code).has_value() == (code < 16), "the first 16 rates have a text");
  }
  return 0;
}
