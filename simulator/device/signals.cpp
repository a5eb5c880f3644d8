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

constexpr std::uint64_t rounded(std::uint64_t dividend, std::uint64_t divisor) {
  return divisor == 0 ? 0 : (dividend + divisor / 2) / divisor;
}

constexpr std::uint32_t kilohertz(std::uint32_t value) { return value * 1000; }

/// The clock of a 59.94 Hz format, from that of 60 Hz.
constexpr std::uint32_t pulledDown(std::uint64_t hertz) {
  return static_cast<std::uint32_t>(rounded(hertz * 1000, 1001));
}

constexpr std::array kSignals{
    Signal{.name = "none",
           .link = Link::kNone,
           .horizontal = kNothing,
           .vertical = kNothing,
           .vTotal = 0,
           .pixelClockHz = 0,
           .colorSpace = kRgb,
           .colorDepth = k8bit,
           .audioFormat = AudioFormat::kNone,
           .samplingRate = SamplingRate::kNone},
    // VIC 1 and DMT 04h.
    Signal{.name = "480p60-dvi",
           .link = Link::kDvi,
           .horizontal = {640, 16, 96, 48},
           .vertical = {480, 10, 2, 33},
           .vTotal = 525,
           .pixelClockHz = kilohertz(25'175),
           .colorSpace = kRgb,
           .colorDepth = k8bit,
           .audioFormat = AudioFormat::kDvi,
           .samplingRate = SamplingRate::kNone},
    // VIC 3 and 18.
    Signal{.name = "480p59.94",
           .link = Link::kTmds,
           .horizontal = {720, 16, 62, 60},
           .vertical = {480, 9, 6, 30},
           .vTotal = 525,
           .pixelClockHz = kilohertz(27'000),
           .colorSpace = kYuv444,
           .colorDepth = k8bit,
           .colorRange = kLimited,
           .colorimetry = 1,
           .hdcp = Hdcp::k1x},
    Signal{.name = "576p50",
           .link = Link::kTmds,
           .horizontal = {720, 12, 64, 68},
           .vertical = {576, 5, 5, 39},
           .vTotal = 625,
           .pixelClockHz = kilohertz(27'000),
           .colorSpace = kYuv444,
           .colorDepth = k8bit,
           .colorRange = kLimited,
           .colorimetry = 1,
           .hdcp = Hdcp::k1x,
           .audioFormat = AudioFormat::kAc3},
    // VIC 4.
    Signal{.name = "720p60",
           .link = Link::kTmds,
           .horizontal = {1280, 110, 40, 220},
           .vertical = {720, 5, 5, 20},
           .vTotal = 750,
           .pixelClockHz = kilohertz(74'250),
           .colorSpace = kYuv444,
           .colorDepth = k8bit,
           .colorRange = kLimited,
           .colorimetry = 2,
           .hdcp = Hdcp::k1x},
    Signal{.name = "1080i50",
           .link = Link::kTmds,
           .horizontal = k1920At50,
           .vertical = {1080, 2, 5, 15},
           .vTotal = 1125,
           .interlaced = true,
           .pixelClockHz = kilohertz(74'250),
           .colorSpace = kYuv422,
           .colorDepth = k8bit,
           .colorRange = kLimited,
           .colorimetry = 2,
           .hdcp = Hdcp::k1x,
           .audioFormat = AudioFormat::kAc3},
    Signal{.name = "1080p24",
           .link = Link::kTmds,
           .horizontal = k1920At24,
           .vertical = k1080Lines,
           .vTotal = 1125,
           .pixelClockHz = kilohertz(74'250),
           .colorSpace = kYuv444,
           .colorDepth = k12bit,
           .colorRange = kLimited,
           .colorimetry = 2,
           .hdcp = Hdcp::k1x,
           .audioFormat = AudioFormat::kDtsHdMa},
    Signal{.name = "1080p50",
           .link = Link::kTmds,
           .horizontal = k1920At50,
           .vertical = k1080Lines,
           .vTotal = 1125,
           .pixelClockHz = kilohertz(148'500),
           .colorSpace = kYuv444,
           .colorDepth = k8bit,
           .colorRange = kLimited,
           .colorimetry = 2,
           .hdcp = Hdcp::k1x},
    Signal{.name = "1080p60",
           .link = Link::kTmds,
           .horizontal = k1920At60,
           .vertical = k1080Lines,
           .vTotal = 1125,
           .pixelClockHz = kilohertz(148'500),
           .colorSpace = kRgb,
           .colorDepth = k8bit,
           .colorRange = kLimited,
           .hdcp = Hdcp::k1x},
    Signal{.name = "1080p120",
           .link = Link::kTmds,
           .horizontal = k1920At60,
           .vertical = k1080Lines,
           .vTotal = 1125,
           .pixelClockHz = kilohertz(297'000),
           .colorSpace = kRgb,
           .colorDepth = k8bit,
           .colorRange = kFull,
           .audioFormat = AudioFormat::kPcm,
           .samplingRate = SamplingRate::k44100},
    Signal{.name = "2160p24-dolby-vision",
           .link = Link::kTmds,
           .horizontal = k3840At24,
           .vertical = k2160Lines,
           .vTotal = 2250,
           .pixelClockHz = kilohertz(297'000),
           .colorSpace = kRgb,
           .colorDepth = k8bit,
           .colorRange = kFull,
           .hdcp = Hdcp::k2x,
           .hdr = Hdr::kDolbyVision,
           .audioFormat = AudioFormat::kTrueHdAtmos},
    Signal{.name = "2160p60-dolby-vision-ll",
           .link = Link::kTmds,
           .horizontal = k3840At60,
           .vertical = k2160Lines,
           .vTotal = 2250,
           .pixelClockHz = kilohertz(594'000),
           .colorSpace = kYuv422,
           .colorDepth = k12bit,
           .colorRange = kLimited,
           .colorimetry = 3,
           .extColorimetry = 6,
           .hdcp = Hdcp::k2x,
           .hdr = Hdr::kDolbyVisionLowLatency,
           .audioFormat = AudioFormat::kEac3Atmos},
    Signal{.name = "2160p30",
           .link = Link::kTmds,
           .horizontal = k3840At60,
           .vertical = k2160Lines,
           .vTotal = 2250,
           .pixelClockHz = kilohertz(297'000),
           .colorSpace = kRgb,
           .colorDepth = k8bit,
           .colorRange = kLimited,
           .hdcp = Hdcp::k1x},
    Signal{.name = "2160p59.94-hlg",
           .link = Link::kTmds,
           .horizontal = k3840At60,
           .vertical = k2160Lines,
           .vTotal = 2250,
           .pixelClockHz = pulledDown(kilohertz(594'000)),
           .colorSpace = kYuv422,
           .colorDepth = k10bit,
           .colorRange = kLimited,
           .colorimetry = 3,
           .extColorimetry = 6,
           .hdcp = Hdcp::k2x,
           .hdr = Hdr::kHlg,
           .audioFormat = AudioFormat::kEac3},
    Signal{.name = "2160p60-420",
           .link = Link::kTmds,
           .horizontal = k3840At60,
           .vertical = k2160Lines,
           .vTotal = 2250,
           .pixelClockHz = kilohertz(594'000),
           .colorSpace = kYuv420,
           .colorDepth = k8bit,
           .colorRange = kLimited,
           .colorimetry = 2,
           .hdcp = Hdcp::k2x},
    Signal{.name = "2160p60-hdr10",
           .link = Link::kTmds,
           .horizontal = k3840At60,
           .vertical = k2160Lines,
           .vTotal = 2250,
           .pixelClockHz = kilohertz(594'000),
           .colorSpace = kYuv420,
           .colorDepth = k10bit,
           .colorRange = kLimited,
           .colorimetry = 3,
           .extColorimetry = 6,
           .hdcp = Hdcp::k2x,
           .hdr = Hdr::kHdr10},
    Signal{.name = "2160p60-hdr10plus",
           .link = Link::kTmds,
           .horizontal = k3840At60,
           .vertical = k2160Lines,
           .vTotal = 2250,
           .pixelClockHz = kilohertz(594'000),
           .colorSpace = kYuv422,
           .colorDepth = k10bit,
           .colorRange = kLimited,
           .colorimetry = 3,
           .extColorimetry = 6,
           .hdcp = Hdcp::k2x,
           .hdr = Hdr::kHdr10Plus},
    // VIC 118, more than TMDS carries.
    Signal{.name = "2160p120",
           .link = Link::kFrl,
           .horizontal = k3840At60,
           .vertical = k2160Lines,
           .vTotal = 2250,
           .pixelClockHz = kilohertz(1'188'000),
           .colorSpace = kRgb,
           .colorDepth = k10bit,
           .colorRange = kFull,
           .colorimetry = 3,
           .extColorimetry = 6,
           .hdcp = Hdcp::k2x,
           .hdr = Hdr::kHdr10,
           .audioFormat = AudioFormat::kPcm,
           .samplingRate = SamplingRate::k96000},
    // DMT 44h, reduced blanking.
    Signal{.name = "1200p60",
           .link = Link::kDisplayPort,
           .horizontal = {1920, 48, 32, 80},
           .vertical = {1200, 3, 6, 26},
           .vTotal = 1235,
           .pixelClockHz = kilohertz(154'000),
           .colorSpace = kRgb,
           .colorDepth = k8bit,
           .colorRange = kFull},
    // CVT reduced blanking: 460 us of vertical blanking at least, the clock in steps of 0.25 MHz.
    Signal{.name = "1440p144",
           .link = Link::kDisplayPort,
           .horizontal = {2560, 48, 32, 80},
           .vertical = {1440, 3, 5, 95},
           .vTotal = 1543,
           .pixelClockHz = kilohertz(604'250),
           .colorSpace = kRgb,
           .colorDepth = k8bit,
           .colorRange = kFull,
           .audioFormat = AudioFormat::kPcm,
           .samplingRate = SamplingRate::k192000},
};

constexpr auto kNames = [] {
  std::array<std::string_view, kSignals.size()> names{};
  for (std::size_t i = 0; i < names.size(); ++i) {
    names[i] = kSignals[i].name;
  }
  return names;
}();

}  // namespace

std::uint32_t Signal::rateX100() const {
  const std::uint64_t fields = interlaced ? 2 : 1;
  return static_cast<std::uint32_t>(
      rounded(std::uint64_t{pixelClockHz} * 100 * fields, std::uint64_t{hTotal()} * vTotal));
}

std::uint32_t Signal::lineRateX100() const {
  return static_cast<std::uint32_t>(rounded(pixelClockHz, std::uint64_t{hTotal()} * 10));
}

std::uint32_t Signal::tmdsClockX100() const {
  if (link != Link::kTmds && link != Link::kDvi) {
    return 0;
  }
  constexpr auto kBits = std::to_array<std::uint64_t>({8, 10, 12});
  std::uint64_t hertz = pixelClockHz;
  // 4:2:2 always fills the 24 bits of a pixel; 4:2:0 sends two pixels in one.
  if (colorSpace != ColorSpace::kYuv422) {
    hertz = hertz * kBits[static_cast<std::size_t>(colorDepth)] / 8;
  }
  if (colorSpace == ColorSpace::kYuv420) {
    hertz /= 2;
  }
  return static_cast<std::uint32_t>(rounded(hertz, 10'000));
}

std::uint32_t Signal::pixelClockX1024() const {
  return static_cast<std::uint32_t>(rounded(std::uint64_t{pixelClockHz} * 1024, 1'000'000));
}

std::span<const Signal> signalTable() { return kSignals; }

std::span<const std::string_view> signalNames() { return kNames; }

}  // namespace simulator
