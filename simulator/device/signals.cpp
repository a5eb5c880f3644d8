#include "simulator/device/signals.h"

#include <algorithm>
#include <array>

namespace simulator {
namespace {

// Timings that several signals share.
constexpr Axis kNothing{0, 0, 0, 0};
constexpr Axis k2160Lines{2160, 8, 10, 72};
constexpr Axis k1080Lines{1080, 4, 5, 36};
constexpr Axis k3840At60{3840, 176, 88, 296};   // also 30 and 120 Hz: VIC 95, 97, 118
constexpr Axis k3840At24{3840, 1276, 88, 296};  // VIC 93
constexpr Axis k1920At60{1920, 88, 44, 148};    // VIC 16, 63
constexpr Axis k1920At50{1920, 528, 44, 148};   // VIC 20, 31
constexpr Axis k1920At24{1920, 638, 44, 148};   // VIC 32

using enum ColorSpace;
using enum ColorDepth;
constexpr auto kAnyRange = ColorRange::kDefault;
constexpr auto kLimited = ColorRange::kLimited;
constexpr auto kFull = ColorRange::kFull;

// Rates of 59.94 Hz are those of 60 Hz times 1000/1001.
constexpr std::array kSignals{
    Signal{"none", Link::kNone, kNothing, kNothing, 0, false, 0, kRgb, k8bit, kAnyRange, 0, 0, Hdcp::kNone, Hdr::kSdr,
           AudioFormat::kNone, SamplingRate::kNone},
    // VIC 1 and DMT 04h.
    Signal{"480p60-dvi",
           Link::kDvi,
           {640, 16, 96, 48},
           {480, 10, 2, 33},
           525,
           false,
           25'175'000,
           kRgb,
           k8bit,
           kAnyRange,
           0,
           0,
           Hdcp::kNone,
           Hdr::kSdr,
           AudioFormat::kDvi,
           SamplingRate::kNone},
    // VIC 3 and 18.
    Signal{"480p59.94",
           Link::kTmds,
           {720, 16, 62, 60},
           {480, 9, 6, 30},
           525,
           false,
           27'000'000,
           kYuv444,
           k8bit,
           kLimited,
           1,
           0,
           Hdcp::k1x,
           Hdr::kSdr},
    Signal{"576p50",
           Link::kTmds,
           {720, 12, 64, 68},
           {576, 5, 5, 39},
           625,
           false,
           27'000'000,
           kYuv444,
           k8bit,
           kLimited,
           1,
           0,
           Hdcp::k1x,
           Hdr::kSdr,
           AudioFormat::kAc3},
    // VIC 4.
    Signal{"720p60",
           Link::kTmds,
           {1280, 110, 40, 220},
           {720, 5, 5, 20},
           750,
           false,
           74'250'000,
           kYuv444,
           k8bit,
           kLimited,
           2,
           0,
           Hdcp::k1x,
           Hdr::kSdr},
    Signal{"1080i50",
           Link::kTmds,
           k1920At50,
           {1080, 2, 5, 15},
           1125,
           true,
           74'250'000,
           kYuv422,
           k8bit,
           kLimited,
           2,
           0,
           Hdcp::k1x,
           Hdr::kSdr,
           AudioFormat::kAc3},
    Signal{"1080p24", Link::kTmds, k1920At24, k1080Lines, 1125, false, 74'250'000, kYuv444, k12bit, kLimited, 2, 0,
           Hdcp::k1x, Hdr::kSdr, AudioFormat::kDtsHdMa},
    Signal{"1080p50", Link::kTmds, k1920At50, k1080Lines, 1125, false, 148'500'000, kYuv444, k8bit, kLimited, 2, 0,
           Hdcp::k1x, Hdr::kSdr},
    Signal{"1080p60", Link::kTmds, k1920At60, k1080Lines, 1125, false, 148'500'000, kRgb, k8bit, kLimited, 0, 0,
           Hdcp::k1x, Hdr::kSdr},
    Signal{"1080p120", Link::kTmds, k1920At60, k1080Lines, 1125, false, 297'000'000, kRgb, k8bit, kFull, 0, 0,
           Hdcp::kNone, Hdr::kSdr, AudioFormat::kPcm, SamplingRate::k44100},
    Signal{"2160p24-dolby-vision", Link::kTmds, k3840At24, k2160Lines, 2250, false, 297'000'000, kRgb, k8bit, kFull, 0,
           0, Hdcp::k2x, Hdr::kDolbyVision, AudioFormat::kTrueHdAtmos},
    Signal{"2160p60-dolby-vision-ll", Link::kTmds, k3840At60, k2160Lines, 2250, false, 594'000'000, kYuv422, k12bit,
           kLimited, 3, 6, Hdcp::k2x, Hdr::kDolbyVisionLowLatency, AudioFormat::kEac3Atmos},
    Signal{"2160p30", Link::kTmds, k3840At60, k2160Lines, 2250, false, 297'000'000, kRgb, k8bit, kLimited, 0, 0,
           Hdcp::k1x, Hdr::kSdr},
    Signal{"2160p59.94-hlg", Link::kTmds, k3840At60, k2160Lines, 2250, false, 593'406'593, kYuv422, k10bit, kLimited, 3,
           6, Hdcp::k2x, Hdr::kHlg, AudioFormat::kEac3},
    Signal{"2160p60-420", Link::kTmds, k3840At60, k2160Lines, 2250, false, 594'000'000, kYuv420, k8bit, kLimited, 2, 0,
           Hdcp::k2x, Hdr::kSdr},
    Signal{"2160p60-hdr10", Link::kTmds, k3840At60, k2160Lines, 2250, false, 594'000'000, kYuv420, k10bit, kLimited, 3,
           6, Hdcp::k2x, Hdr::kHdr10},
    Signal{"2160p60-hdr10plus", Link::kTmds, k3840At60, k2160Lines, 2250, false, 594'000'000, kYuv422, k10bit, kLimited,
           3, 6, Hdcp::k2x, Hdr::kHdr10Plus},
    // VIC 118, more than TMDS carries.
    Signal{"2160p120", Link::kFrl, k3840At60, k2160Lines, 2250, false, 1'188'000'000, kRgb, k10bit, kFull, 3, 6,
           Hdcp::k2x, Hdr::kHdr10, AudioFormat::kPcm, SamplingRate::k96000},
    // DMT 44h, reduced blanking.
    Signal{"1200p60",
           Link::kDisplayPort,
           {1920, 48, 32, 80},
           {1200, 3, 6, 26},
           1235,
           false,
           154'000'000,
           kRgb,
           k8bit,
           kFull,
           0,
           0,
           Hdcp::kNone,
           Hdr::kSdr},
    // CVT reduced blanking: 460 us of vertical blanking at least, the clock in steps of 0.25 MHz.
    Signal{"1440p144",
           Link::kDisplayPort,
           {2560, 48, 32, 80},
           {1440, 3, 5, 95},
           1543,
           false,
           604'250'000,
           kRgb,
           k8bit,
           kFull,
           0,
           0,
           Hdcp::kNone,
           Hdr::kSdr,
           AudioFormat::kPcm,
           SamplingRate::k192000},
};

constexpr auto kNames = [] {
  std::array<std::string_view, kSignals.size()> names{};
  for (std::size_t i = 0; i < names.size(); ++i) {
    names[i] = kSignals[i].name;
  }
  return names;
}();

constexpr std::uint64_t rounded(std::uint64_t dividend, std::uint64_t divisor) {
  return divisor == 0 ? 0 : (dividend + divisor / 2) / divisor;
}

}  // namespace

std::uint32_t Signal::rateX100() const {
  const std::uint64_t fields = interlaced ? 2 : 1;
  return static_cast<std::uint32_t>(
      rounded(std::uint64_t{pixelClockHz} * 100 * fields, std::uint64_t{hTotal()} * vTotal));
}

std::uint32_t Signal::lineRateX100() const {
  return static_cast<std::uint32_t>(rounded(pixelClockHz, std::uint64_t{hTotal()} * 10));
}

std::uint64_t Signal::tmdsClockHz() const {
  if (link != Link::kTmds && link != Link::kDvi) {
    return 0;
  }
  // 4:2:2 always fills the 24 bits of a pixel; 4:2:0 sends two pixels in one.
  if (colorSpace == ColorSpace::kYuv422) {
    return pixelClockHz;
  }
  constexpr std::array<std::uint64_t, 4> kBits{8, 10, 12, 16};
  const std::uint64_t deep = std::uint64_t{pixelClockHz} * kBits[static_cast<std::size_t>(colorDepth)] / 8;
  return colorSpace == ColorSpace::kYuv420 ? deep / 2 : deep;
}

std::span<const Signal> signalTable() { return kSignals; }

std::span<const std::string_view> signalNames() { return kNames; }

}  // namespace simulator
