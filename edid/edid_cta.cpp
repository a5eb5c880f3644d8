#include "edid/edid_readers.h"
#include "edid/mode_tables.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace edid {
namespace {

// Data block tags and extended tags, CTA-861-H, tables 54 and 56.
enum CtaTag : std::uint8_t { kAudioTag = 1, kVideoTag = 2, kVendorTag = 3, kSpeakerTag = 4, kExtendedTag = 7 };
enum CtaExtendedTag : std::uint8_t {
  kVideoCapability = 0x00,
  kVendorVideo = 0x01,
  kColorimetry = 0x05,
  kHdrStatic = 0x06,
  kVideo420 = 0x0E,
  kCapabilityMap420 = 0x0F,
  kSinkCapability = 0x79,
};

constexpr std::size_t kOuiBytes = 3;
constexpr std::uint32_t kHdmiOui = 0x000C03;
constexpr std::uint32_t kHdmiForumOui = 0xC45DD8;

struct VendorName {
  std::uint32_t oui;
  const char* name;
};

// IEEE's register of company numbers.
constexpr VendorName kVendorNames[] = {{0x00D046, "Dolby"}, {0x90848B, "HDR10+"}, {0x00001A, "AMD"}};

// CTA-861-H, table 37.
constexpr auto kAudioNames =
    std::to_array<const char*>({"", "LPCM", "AC-3", "MPEG-1", "MP3", "MPEG-2", "AAC LC", "DTS", "ATRAC",
                                "One Bit Audio", "Enhanced AC-3", "DTS-HD", "MAT", "DST", "WMA Pro", ""});
// CTA-861-H, table 39, by the extension code.
constexpr auto kMoreAudioNames = std::to_array<const char*>(
    {"", "", "", "", "MPEG-4 HE AAC", "MPEG-4 HE AAC v2", "MPEG-4 AAC LC", "DRA", "MPEG-4 HE AAC + MPEG Surround", "",
     "MPEG-4 AAC LC + MPEG Surround", "MPEG-H 3D Audio", "AC-4", "LPCM 3D"});
constexpr auto kSamplingRates =
    std::to_array<std::uint32_t>({32'000, 44'100, 48'000, 88'200, 96'000, 176'400, 192'000});
constexpr auto kBitDepths = std::to_array<std::uint32_t>({16, 20, 24});

// CTA-861-H, table 42, from bit 0 of each byte.
constexpr auto kSpeakers1 =
    std::to_array<const char*>({"FL/FR", "LFE1", "FC", "BL/BR", "BC", "FLc/FRc", "RLC/RRC", "FLw/FRw"});
constexpr auto kSpeakers2 =
    std::to_array<const char*>({"TpFL/TpFR", "TpC", "TpFC", "LS/RS", "LFE2", "TpBC", "SiL/SiR", "TpSiL/TpSiR"});
constexpr auto kSpeakers3 = std::to_array<const char*>({"TpBL/TpBR", "BtFC", "BtFL/BtFR", "TpLS/TpRS", "", "", "", ""});

// CTA-861-H, table 70, from bit 0 of each byte.
constexpr auto kColorimetry1 = std::to_array<const char*>(
    {"xvYCC601", "xvYCC709", "sYCC601", "opYCC601", "opRGB", "BT.2020 cYCC", "BT.2020 YCC", "BT.2020 RGB"});
constexpr auto kColorimetry2 = std::to_array<const char*>({"", "", "", "", "default RGB", "sRGB", "ICtCp", "DCI-P3"});

// CTA-861.3, table 3.
constexpr auto kTransferFunctions =
    std::to_array<const char*>({"SDR gamma", "HDR gamma", "PQ (ST 2084)", "HLG", "", "", "", ""});

// HDMI 1.4b, table 8-16, and HDMI 2.0, table 10-6: from the first bit on.
constexpr auto kDeepColor = std::to_array<const char*>({"30 bit", "36 bit", "48 bit"});
// HDMI 2.1, table 10-6.
constexpr auto kFixedRateLinks =
    std::to_array<const char*>({"", "3 Gbps, 3 lanes", "6 Gbps, 3 lanes", "6 Gbps, 4 lanes", "8 Gbps, 4 lanes",
                                "10 Gbps, 4 lanes", "12 Gbps, 4 lanes"});

constexpr std::uint32_t kTmdsUnitMhz = 5;

std::uint8_t byteOr0(Bytes bytes, std::size_t at) { return at < bytes.size() ? bytes[at] : std::uint8_t{0}; }

bool bit(std::uint8_t byte, unsigned number) { return (byte >> number & 1U) != 0; }

Mode ctaModeOf(std::uint8_t code) {
  Mode mode;
  mode.source = ModeSource::kCta;
  mode.code = code;
  if (const TableMode* const row = ctaMode(code)) {
    mode.width = row->width;
    mode.height = row->height;
    mode.interlaced = row->interlaced;
    mode.refreshMilliHz = row->refreshMilliHz;
    mode.pixelClockKhz = row->pixelClockKhz;
  }
  return mode;
}

/// Codes 1 to 64 may carry a mark "native" in bit 7.
bool isNative(std::uint8_t descriptor) { return descriptor >= 129 && descriptor <= 192; }

std::uint8_t videoCode(std::uint8_t descriptor) {
  return isNative(descriptor) ? static_cast<std::uint8_t>(descriptor & 0x7FU) : descriptor;
}

/// Adds the modes of short video descriptors, except the reserved values.
void addVideo(Bytes descriptors, bool only420, Description& description) {
  for (const std::uint8_t descriptor : descriptors) {
    const std::uint8_t code = videoCode(descriptor);
    if (code != 0 && code != 128 && code < 254) {
      Mode mode = ctaModeOf(code);
      mode.native = isNative(descriptor);
      mode.only420 = only420;
      description.modes.push_back(mode);
    }
  }
}

/// Marks the modes that also come in 4:2:0: bit n counts the short video descriptors of
/// the extension, the reserved ones, too. An empty map means all.
void mark420(Bytes map, const CtaExtension& cta, Description& description) {
  std::size_t index = 0;
  for (const CtaDataBlock& data : cta.dataBlocks) {
    for (const std::uint8_t descriptor : data.tag == kVideoTag ? data.payload : Bytes()) {
      const bool isMarked = map.empty() || bit(byteOr0(map, index / 8), index % 8);
      for (Mode& mode : description.modes) {
        mode.also420 = mode.also420 || (isMarked && mode.source == ModeSource::kCta && !mode.only420 &&
                                        mode.code == videoCode(descriptor));
      }
      ++index;
    }
  }
}

AudioFormat audioFormat(Bytes descriptor) {
  constexpr std::uint8_t kLpcm = 1;
  constexpr std::uint8_t kLastWithRate = 8;
  constexpr std::uint8_t kExtension = 15;
  AudioFormat format;
  const std::uint8_t code = descriptor[0] >> 3 & 0x0FU;
  const std::uint8_t more = descriptor[2] >> 3;
  format.name = kAudioNames[code];
  if (code == kExtension && more < kMoreAudioNames.size()) {
    format.name = kMoreAudioNames[more];
  }
  if (format.name.empty()) {
    format.name = "reserved code " + std::to_string(code == kExtension ? more : code);
  }
  format.channels = static_cast<std::uint8_t>((descriptor[0] & 7U) + 1U);
  for (unsigned i = 0; i < kSamplingRates.size(); ++i) {
    if (bit(descriptor[1], i)) {
      format.samplingRatesHz.push_back(kSamplingRates[i]);
    }
  }
  for (unsigned i = 0; code == kLpcm && i < kBitDepths.size(); ++i) {
    if (bit(descriptor[2], i)) {
      format.bitDepths.push_back(kBitDepths[i]);
    }
  }
  if (code > kLpcm && code <= kLastWithRate) {
    format.maxKbps = descriptor[2] * 8U;
  }
  return format;
}

void addAudio(Bytes descriptors, Description& description) {
  for (; descriptors.size() >= 3; descriptors = descriptors.subspan(3)) {
    description.audio.push_back(audioFormat(descriptors.first(3)));
  }
}

void addHdmiModes(Bytes payload, Description& description) {
  // Each of the two bits announces two bytes that stand before.
  const std::uint8_t flags = byteOr0(payload, 7);
  const std::size_t at = 8U + (bit(flags, 7) ? 2U : 0U) + (bit(flags, 6) ? 2U : 0U);
  if (!bit(flags, 5) || at + 2 > payload.size()) {
    return;
  }
  description.hdmi->threeD = bit(payload[at], 7);
  const std::size_t count = payload[at + 1] >> 5;
  for (std::size_t i = at + 2; i < std::min(at + 2 + count, payload.size()); ++i) {
    const std::uint8_t code = payload[i];
    if (code >= 1 && code <= hdmiModes().size()) {
      Mode mode;
      const TableMode& row = hdmiModes()[code - 1U];
      mode.source = ModeSource::kHdmi;
      mode.code = code;
      mode.width = row.width;
      mode.height = row.height;
      mode.refreshMilliHz = row.refreshMilliHz;
      mode.pixelClockKhz = row.pixelClockKhz;
      description.modes.push_back(mode);
    }
  }
}

/// `payload` begins with the OUI.
void describeHdmi(Bytes payload, Description& description) {
  HdmiBlock hdmi;
  for (const std::size_t at : {3U, 4U}) {
    const std::uint8_t byte = byteOr0(payload, at);
    hdmi.physicalAddress += (at == 3 ? "" : ".") + std::to_string(byte >> 4) + '.' + std::to_string(byte & 0x0FU);
  }
  const std::uint8_t flags = byteOr0(payload, 5);
  hdmi.acceptsAi = bit(flags, 7);
  hdmi.dualLinkDvi = bit(flags, 0);
  addBitNames(static_cast<std::uint8_t>(flags >> 4 & 7U), kDeepColor, hdmi.deepColor);
  hdmi.maxTmdsClockMhz = byteOr0(payload, 6) * kTmdsUnitMhz;
  description.hdmi = hdmi;
  addHdmiModes(payload, description);
}

/// `payload` begins with the version.
void describeHdmiForum(Bytes payload, Description& description) {
  HdmiForumBlock forum;
  forum.version = byteOr0(payload, 0);
  forum.maxTmdsRateMhz = byteOr0(payload, 1) * kTmdsUnitMhz;
  forum.scdc = bit(byteOr0(payload, 2), 7);
  forum.scramblingBelow340 = bit(byteOr0(payload, 2), 3);
  const std::size_t link = byteOr0(payload, 3) >> 4;
  forum.maxFixedRateLink =
      link < kFixedRateLinks.size() ? kFixedRateLinks[link] : "reserved code " + std::to_string(link);
  addBitNames(static_cast<std::uint8_t>(byteOr0(payload, 3) & 7U), kDeepColor, forum.deepColor420);
  forum.autoLowLatency = bit(byteOr0(payload, 4), 1);
  forum.minVrrHz = byteOr0(payload, 5) & 0x3FU;
  forum.maxVrrHz = (byteOr0(payload, 5) & 0xC0U) << 2 | byteOr0(payload, 6);
  description.hdmiForum = forum;
}

void describeVendor(Bytes payload, bool video, Description& description) {
  if (payload.size() < kOuiBytes) {
    return;
  }
  const std::uint32_t oui =
      static_cast<std::uint32_t>(payload[2]) << 16 | static_cast<std::uint32_t>(payload[1]) << 8 | payload[0];
  if (oui == kHdmiOui && !video) {
    describeHdmi(payload, description);
    return;
  }
  if (oui == kHdmiForumOui && !video) {
    describeHdmiForum(payload.subspan(kOuiBytes), description);
    return;
  }
  VendorBlock vendor;
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  for (const std::size_t at : {2U, 1U, 0U}) {
    vendor.oui += vendor.oui.empty() ? "" : "-";
    vendor.oui += {kDigits[payload[at] >> 4U], kDigits[payload[at] & 0x0FU]};
  }
  for (const VendorName& entry : kVendorNames) {
    if (entry.oui == oui) {
      vendor.name = entry.name;
    }
  }
  vendor.video = video;
  vendor.bytes = payload.size() - kOuiBytes;
  description.vendors.push_back(vendor);
}

/// Luminances are coded on a logarithmic scale; 0 means "not told".
void describeHdr(Bytes payload, Description& description) {
  const auto luminance = [](std::uint8_t code) { return 50.0 * std::exp2(code / 32.0); };
  HdrBlock hdr;
  addBitNames(byteOr0(payload, 0), kTransferFunctions, hdr.transferFunctions);
  if (const std::uint8_t code = byteOr0(payload, 2); code != 0) {
    hdr.maxLuminance = luminance(code);
  }
  if (const std::uint8_t code = byteOr0(payload, 3); code != 0) {
    hdr.maxFrameAverageLuminance = luminance(code);
  }
  if (const std::uint8_t code = byteOr0(payload, 4); code != 0 && hdr.maxLuminance) {
    hdr.minLuminance = *hdr.maxLuminance * (code / 255.0) * (code / 255.0) / 100.0;
  }
  description.hdr = hdr;
}

void describeExtended(const CtaDataBlock& data, Description& description) {
  switch (data.extendedTag) {
    case kVideoCapability:
      description.videoCapability = VideoCapability{bit(byteOr0(data.payload, 0), 6), bit(byteOr0(data.payload, 0), 7)};
      break;
    case kVendorVideo:
      describeVendor(data.payload, true, description);
      break;
    case kColorimetry:
      addBitNames(byteOr0(data.payload, 0), kColorimetry1, description.colorimetry);
      addBitNames(byteOr0(data.payload, 1), kColorimetry2, description.colorimetry);
      break;
    case kHdrStatic:
      describeHdr(data.payload, description);
      break;
    case kVideo420:
      addVideo(data.payload, true, description);
      break;
    case kSinkCapability:
      // Behind two reserved bytes it is the same block.
      describeHdmiForum(data.payload.subspan(std::min<std::size_t>(2, data.payload.size())), description);
      break;
    default:
      break;
  }
}

}  // namespace

void describeCtaDataBlock(const CtaDataBlock& data, Description& description) {
  switch (data.tag) {
    case kAudioTag:
      addAudio(data.payload, description);
      break;
    case kVideoTag:
      addVideo(data.payload, false, description);
      break;
    case kVendorTag:
      describeVendor(data.payload, false, description);
      break;
    case kSpeakerTag:
      addBitNames(byteOr0(data.payload, 0), kSpeakers1, description.speakers);
      addBitNames(byteOr0(data.payload, 1), kSpeakers2, description.speakers);
      addBitNames(byteOr0(data.payload, 2), kSpeakers3, description.speakers);
      break;
    case kExtendedTag:
      describeExtended(data, description);
      break;
    default:
      break;
  }
}

void describeCta(Bytes block, Description& description) {
  const CtaExtension cta = readCtaExtension(block);
  description.hasCta = true;
  description.ctaRevision = cta.revision;
  if (cta.revision >= 2) {
    description.underscan = bit(cta.flags, 7);
    description.basicAudio = bit(cta.flags, 6);
    description.ycbcr444 = bit(cta.flags, 5);
    description.ycbcr422 = bit(cta.flags, 4);
  }
  for (const CtaDataBlock& data : cta.dataBlocks) {
    describeCtaDataBlock(data, description);
  }
  // The map may stand before the modes that it counts.
  for (const CtaDataBlock& data : cta.dataBlocks) {
    if (data.tag == kExtendedTag && data.extendedTag == kCapabilityMap420) {
      mark420(data.payload, cta, description);
    }
  }
  for (const std::size_t at : cta.timings) {
    if (const auto timing = readDetailedTiming(block.subspan(at, kDescriptorSize))) {
      addDetailed(*timing, ModeSource::kDetailed, false, description);
    }
  }
}

}  // namespace edid
