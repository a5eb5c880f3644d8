#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// What an EDID says about its display, as plain values. Texts from the table
/// are ASCII: a byte outside 0x20 to 0x7E comes as '?'.
namespace edid {

/// Where a mode is named in the table.
enum class ModeSource : std::uint8_t {
  kEstablished,  ///< a bit of the established timings I to III
  kStandard,     ///< a two-byte standard timing
  kCvt,          ///< a three-byte CVT code
  kDetailed,     ///< an 18-byte detailed timing
  kCta,          ///< a CTA-861 video code
  kHdmi,         ///< an HDMI video code
  kDisplayId,    ///< a DisplayID timing of type I or VII
};

/// For example "detailed timing".
const char* textOf(ModeSource source);

/// A picture format that the display takes.
struct Mode {
  ModeSource source = ModeSource::kDetailed;
  std::uint32_t width = 0;   ///< pixels
  std::uint32_t height = 0;  ///< lines of a whole picture
  bool interlaced = false;
  std::uint32_t refreshMilliHz = 0;  ///< pictures, or fields of an interlaced mode, a second, in thousandths
  std::uint32_t pixelClockKhz = 0;   ///< 0 = not told
  std::uint8_t code = 0;             ///< CTA-861 or HDMI video code, else 0
  bool preferred = false;
  bool native = false;
  bool only420 = false;  ///< in YCbCr 4:2:0 only
  bool also420 = false;  ///< in YCbCr 4:2:0, too
};

/// For example "1920x1080i 59.94 Hz".
std::string textOf(const Mode& mode);

/// The frequencies between which the display can be driven.
struct RangeLimits {
  std::uint32_t minVerticalHz = 0;
  std::uint32_t maxVerticalHz = 0;
  std::uint32_t minHorizontalKhz = 0;
  std::uint32_t maxHorizontalKhz = 0;
  std::uint32_t maxPixelClockMhz = 0;  ///< 0 = not told
};

/// A short audio descriptor of CTA-861.
struct AudioFormat {
  std::string name;  ///< for example "LPCM"
  std::uint8_t channels = 0;
  std::vector<std::uint32_t> samplingRatesHz;
  std::vector<std::uint32_t> bitDepths;  ///< of LPCM; empty for other formats
  std::uint32_t maxKbps = 0;             ///< of the compressed formats that tell it; else 0
};

/// The HDMI vendor-specific block (HDMI 1.4b, table 8-16).
struct HdmiBlock {
  std::string physicalAddress;         ///< for example "1.0.0.0"
  std::uint32_t maxTmdsClockMhz = 0;   ///< 0 = not told
  std::vector<std::string> deepColor;  ///< for example "30 bit"
  bool dualLinkDvi = false;
  bool acceptsAi = false;  ///< audio information packets (ACP, ISRC)
  bool threeD = false;
};

/// The HDMI Forum's vendor-specific block, or its sink capability block.
struct HdmiForumBlock {
  std::uint8_t version = 0;
  std::uint32_t maxTmdsRateMhz = 0;  ///< characters; 0 = not above what the HDMI block tells
  std::string maxFixedRateLink;      ///< for example "6 Gbps, 4 lanes"; empty without
  bool scdc = false;
  bool scramblingBelow340 = false;
  std::vector<std::string> deepColor420;
  bool autoLowLatency = false;
  std::uint32_t minVrrHz = 0;  ///< 0 = no variable refresh rate
  std::uint32_t maxVrrHz = 0;  ///< 0 = the highest of the modes
};

/// HDR static metadata (CTA-861.3).
struct HdrBlock {
  std::vector<std::string> transferFunctions;
  std::optional<double> maxLuminance;              ///< cd/m2
  std::optional<double> maxFrameAverageLuminance;  ///< cd/m2
  std::optional<double> minLuminance;              ///< cd/m2
};

/// How the display takes quantization ranges and scans (CTA-861, video capability).
struct VideoCapability {
  bool selectableRgbRange = false;
  bool selectableYccRange = false;
};

/// A vendor's own data block that is not taken apart.
struct VendorBlock {
  std::string oui;   ///< for example "00-D0-46"
  std::string name;  ///< when the number is widely known, else empty
  bool video = false;
  std::size_t bytes = 0;  ///< behind the number
};

/// One 128-byte block.
struct BlockInfo {
  std::uint8_t tag = 0;  ///< 0 for the base block
  std::string name;      ///< for example "CTA-861", empty when unknown
  std::uint8_t checksum = 0;
  bool checksumRight = false;
};

/// All of it. Values that the table leaves open are empty or 0, as said at each.
struct Description {
  std::string maker;  ///< three letters of the PNP register; '?' for a code that is no letter
  std::uint16_t product = 0;
  std::uint32_t serialNumber = 0;  ///< 0 = none
  std::string serialText;          ///< of the serial descriptor
  std::string name;                ///< of the name descriptor
  std::vector<std::string> texts;  ///< of the other text descriptors
  std::uint32_t week = 0;          ///< of making, 1 to 54; 0 = not told
  std::uint32_t year = 0;          ///< 1990 or later
  bool isModelYear = false;        ///< else the year of making

  std::uint8_t version = 0;
  std::uint8_t revision = 0;
  bool digital = false;
  std::string videoInterface;      ///< for example "DisplayPort"; empty = not told
  std::uint32_t bitsPerColor = 0;  ///< 0 = not told
  std::uint32_t widthMm = 0;       ///< of the screen; 0 = not told
  std::uint32_t heightMm = 0;
  std::optional<double> gamma;
  bool srgb = false;
  bool continuousFrequency = false;
  std::optional<RangeLimits> range;

  std::vector<Mode> modes;  ///< in the order of the table; the same mode may be named more than once

  bool hasCta = false;
  std::uint8_t ctaRevision = 0;
  bool underscan = false;
  bool basicAudio = false;
  bool ycbcr444 = false;
  bool ycbcr422 = false;
  std::vector<AudioFormat> audio;
  std::vector<std::string> speakers;
  std::optional<HdmiBlock> hdmi;
  std::optional<HdmiForumBlock> hdmiForum;
  std::optional<HdrBlock> hdr;
  std::vector<std::string> colorimetry;
  std::optional<VideoCapability> videoCapability;
  std::vector<VendorBlock> vendors;

  std::string displayIdVersion;    ///< for example "1.3"; empty without such an extension
  std::size_t extensionCount = 0;  ///< as promised
  std::vector<BlockInfo> blocks;   ///< those that are there

  /// The first preferred mode; null without one.
  const Mode* preferredMode() const;
};

/// Reads what can be read, also of a damaged table; see checkTable() for what
/// is wrong with it. Empty when there is no whole block.
std::optional<Description> describe(std::span<const std::uint8_t> table);

}  // namespace edid
