#include "edid/edid_description.h"

#include "edid/edid_readers.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace edid {
namespace {

// Data blocks, by version of the standard: DisplayID 1.3, table 3.2, and 2.0,
// table 4.2.
constexpr std::uint8_t kTimingType1 = 0x03;
constexpr std::uint8_t kTimingType7 = 0x22;
constexpr std::uint8_t kCtaDataBlocks = 0x81;

void addTimings(const DisplayIdDataBlock& data, std::uint32_t clockUnitKhz, Description& description) {
  constexpr std::size_t kTimingBytes = 20;
  for (Bytes rest = data.payload; rest.size() >= kTimingBytes; rest = rest.subspan(kTimingBytes)) {
    if (const auto timing = readDisplayIdTiming(rest, clockUnitKhz)) {
      addDetailed(*timing, ModeSource::kDisplayId, (rest[3] & 0x80U) != 0, description);
    }
  }
}

}  // namespace

void addDetailed(const DetailedTiming& timing, ModeSource source, bool preferred, Description& description) {
  Mode mode;
  mode.source = source;
  mode.width = timing.width;
  mode.height = timing.height();
  mode.interlaced = timing.interlaced;
  mode.refreshMilliHz = timing.refreshMilliHz();
  mode.pixelClockKhz = timing.pixelClockKhz;
  mode.preferred = preferred;
  description.modes.push_back(mode);
}

void describeDisplayId(Bytes block, Description& description) {
  const DisplayIdSection section = readDisplayIdSection(block);
  description.displayIdVersion = std::to_string(section.version >> 4) + '.' + std::to_string(section.version & 0x0FU);
  for (const DisplayIdDataBlock& data : section.dataBlocks) {
    if (data.tag == kTimingType1) {
      addTimings(data, 10, description);
    } else if (data.tag == kTimingType7) {
      addTimings(data, 1, description);
    } else if (data.tag == kCtaDataBlocks) {
      const CtaDataBlocks cta = readCtaDataBlocks(data.payload);
      for (const CtaDataBlock& ctaBlock : cta.whole) {
        describeCtaDataBlock(ctaBlock, description);
      }
    }
  }
}

const char* textOf(ModeSource source) {
  switch (source) {
    case ModeSource::kEstablished:
      return "established timing";
    case ModeSource::kStandard:
      return "standard timing";
    case ModeSource::kCvt:
      return "CVT code";
    case ModeSource::kDetailed:
      return "detailed timing";
    case ModeSource::kCta:
      return "CTA-861 video code";
    case ModeSource::kHdmi:
      return "HDMI video code";
    case ModeSource::kDisplayId:
      return "DisplayID timing";
  }
  return "";
}

std::string textOf(const Mode& mode) {
  if (mode.width == 0 || mode.height == 0) {
    return "video code " + std::to_string(mode.code);
  }
  // Not printf, whose decimal point is that of the locale.
  std::array<char, 24> rate{};
  const auto end =
      std::to_chars(rate.data(), rate.data() + rate.size(), mode.refreshMilliHz / 1000.0, std::chars_format::fixed, 2)
          .ptr;
  return std::to_string(mode.width) + 'x' + std::to_string(mode.height) + (mode.interlaced ? "i " : " ") +
         std::string(rate.data(), end) + " Hz";
}

const Mode* Description::preferredMode() const {
  const auto found = std::find_if(modes.begin(), modes.end(), [](const Mode& mode) { return mode.preferred; });
  return found == modes.end() ? nullptr : &*found;
}

std::optional<Description> describe(std::span<const std::uint8_t> table) {
  if (table.size() < kBlockSize) {
    return std::nullopt;
  }
  Description description;
  description.extensionCount = table[kExtensionCountAt];
  for (std::size_t start = 0; start + kBlockSize <= table.size(); start += kBlockSize) {
    const Bytes block = table.subspan(start, kBlockSize);
    const std::uint8_t tag = start == 0 ? std::uint8_t{0} : block[0];
    const std::string_view name = start == 0 ? "EDID base" : extensionName(tag);
    description.blocks.push_back(
        {tag, std::string(name), block[kBlockSize - 1], block[kBlockSize - 1] == blockChecksum(block)});
    // What lies behind the promised extensions is no part of the EDID.
    if (start == 0) {
      describeBase(block, description);
    } else if (start / kBlockSize > description.extensionCount) {
      continue;
    } else if (tag == kCtaTag) {
      describeCta(block, description);
    } else if (tag == kDisplayIdTag) {
      describeDisplayId(block, description);
    }
  }
  return description;
}

}  // namespace edid
