/// @file
/// The input signals that the simulated receiver knows by name, with the
/// numbers published for them: CTA-861-I (formats by their VIC), VESA DMT 1.13
/// and VESA CVT 1.2 reduced blanking.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace simulator {

/// How a signal travels.
enum class Link : std::uint8_t {
  kNone,  ///< no signal
  kDvi,   ///< TMDS without HDMI's packets
  kTmds,  ///< HDMI 1.4/2.0
  kFrl,   ///< HDMI 2.1 fixed rate link
  kDisplayPort,
};

/// Codes as the receiver's record has them.
enum class ColorSpace : std::uint8_t { kRgb = 0, kYuv422 = 1, kYuv444 = 2, kYuv420 = 3 };
enum class ColorDepth : std::uint8_t { k8bit = 0, k10bit = 1, k12bit = 2 };
enum class ColorRange : std::uint8_t { kDefault = 0, kLimited = 1, kFull = 2 };
enum class Hdcp : std::uint8_t { kNone = 0, k1x = 1, k2x = 2, kOff = 3 };
enum class Hdr : std::uint8_t {
  kSdr = 0x00,
  kHdr10 = 0x01,
  kHlg = 0x11,
  kHdr10Plus = 0x20,
  kDolbyVision = 0x30,
  kDolbyVisionLowLatency = 0x31,
};

/// Codes of the audio that comes with a signal.
enum class AudioFormat : std::uint8_t {
  kDvi = 0,  ///< a link without audio
  kNone = 1,
  kPcm = 2,
  kAc3 = 3,
  kDtsHdMa = 11,
  kEac3 = 14,
  kEac3Atmos = 15,
  kTrueHdAtmos = 19,
};
enum class SamplingRate : std::uint8_t { kNone = 0, k44100 = 4, k48000 = 7, k96000 = 8, k192000 = 9 };

/// One direction of a timing, in pixels or lines, in their order on the wire
/// from the end of the active part.
struct Axis {
  std::uint16_t active;
  std::uint16_t frontPorch;
  std::uint16_t sync;
  std::uint16_t backPorch;
};

struct Signal {
  std::string_view name;
  Link link;
  Axis horizontal;
  Axis vertical;         ///< active lines of a whole frame, blanking of one field
  std::uint16_t vTotal;  ///< lines of a whole frame
  bool interlaced = false;
  std::uint32_t pixelClockHz;
  ColorSpace colorSpace;
  ColorDepth colorDepth;
  ColorRange colorRange = ColorRange::kDefault;
  std::uint8_t colorimetry = 0;     ///< AVI InfoFrame C: 0 none, 1 SMPTE 170M, 2 BT.709, 3 extended
  std::uint8_t extColorimetry = 0;  ///< AVI InfoFrame EC: 5 BT.2020 cYCC, 6 BT.2020 RGB or YCC
  Hdcp hdcp = Hdcp::kNone;
  Hdr hdr = Hdr::kSdr;
  AudioFormat audioFormat = AudioFormat::kPcm;
  SamplingRate samplingRate = SamplingRate::k48000;

  constexpr std::uint16_t hTotal() const {
    return static_cast<std::uint16_t>(horizontal.active + horizontal.frontPorch + horizontal.sync +
                                      horizontal.backPorch);
  }
  constexpr bool hasAudio() const { return samplingRate != SamplingRate::kNone; }
  /// Fields (interlaced) or frames (progressive) per second, in hundredths.
  std::uint32_t rateX100() const;
  /// Lines per second, in units of 10 Hz.
  std::uint32_t lineRateX100() const;
  /// Rate of one TMDS character in units of 0.01 MHz; 0 on a link without TMDS clock.
  std::uint32_t tmdsClockX100() const;
  /// The pixel clock in MHz times 1024.
  std::uint32_t pixelClockX1024() const;
};

/// All named signals; the first is "none".
std::span<const Signal> signalTable();

/// All names, in the table's order.
std::span<const std::string_view> signalNames();

}  // namespace simulator
