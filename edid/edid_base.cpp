#include "device/bytes.h"
#include "edid/detailed_timing.h"
#include "edid/edid_readers.h"
#include "edid/mode_tables.h"

#include <algorithm>
#include <array>

namespace edid {
namespace {

// Display descriptors, by byte 3. VESA E-EDID release A2, table 3.25.
enum DescriptorTag : std::uint8_t {
  kEstablishedIII = 0xF7,
  kCvtCodes = 0xF8,
  kStandardTimings = 0xFA,
  kName = 0xFC,
  kRangeLimits = 0xFD,
  kText = 0xFE,
  kSerial = 0xFF,
};

constexpr std::uint32_t kMillimetresPerCentimetre = 10;

std::string descriptorText(Bytes descriptor) {
  std::string text;
  for (const std::uint8_t byte : descriptor.subspan(5)) {
    if (byte == '\n') {
      break;
    }
    text += byte >= 0x20 && byte <= 0x7E ? static_cast<char>(byte) : '?';
  }
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

std::string makerLetters(Bytes block) {
  const unsigned code = static_cast<unsigned>(block[8]) << 8 | block[9];
  std::string letters;
  for (const unsigned shift : {10U, 5U, 0U}) {
    const unsigned letter = code >> shift & 0x1FU;
    letters += letter >= 1 && letter <= 26 ? static_cast<char>('@' + letter) : '?';
  }
  return letters;
}

Mode modeOf(const TableMode& row, ModeSource source) {
  Mode mode;
  mode.source = source;
  mode.width = row.width;
  mode.height = row.height;
  mode.interlaced = row.interlaced;
  mode.refreshMilliHz = row.refreshMilliHz;
  mode.pixelClockKhz = row.pixelClockKhz;
  return mode;
}

/// Adds the modes whose bits are set, from bit 7 of the first byte on.
void addEstablished(Bytes bits, std::span<const TableMode> modes, Description& description) {
  for (std::size_t i = 0; i < modes.size(); ++i) {
    if ((bits[i / 8] & 0x80U >> i % 8) != 0) {
      description.modes.push_back(modeOf(modes[i], ModeSource::kEstablished));
    }
  }
}

/// Adds a two-byte standard timing, unless the bytes say "unused".
void addStandard(std::uint8_t first, std::uint8_t second, Description& description) {
  if (first == 0 || (first == 1 && second == 1)) {
    return;
  }
  Mode mode;
  mode.source = ModeSource::kStandard;
  mode.width = (first + 31U) * 8;
  mode.refreshMilliHz = ((second & 0x3FU) + 60U) * 1000;
  // Before structure 1.3 the first ratio was 1:1.
  const bool firstIsSquare = description.version == 1 && description.revision < 3;
  const auto heights = std::to_array<std::uint32_t>(
      {firstIsSquare ? mode.width : mode.width * 10 / 16, mode.width * 3 / 4, mode.width * 4 / 5, mode.width * 9 / 16});
  mode.height = heights[second >> 6U];
  description.modes.push_back(mode);
}

/// Adds a three-byte CVT code: one mode for each of its refresh rates.
void addCvt(Bytes code, Description& description) {
  constexpr auto kRates =
      std::to_array<std::uint32_t>({60, 85, 75, 60, 50});  // bits 0 to 4; bit 0 with reduced blanking
  const std::uint32_t lines = ((code[0] | (code[1] & 0xF0U) << 4) + 1U) * 2;
  const auto widths = std::to_array<std::uint32_t>({lines * 4 / 3, lines * 16 / 9, lines * 16 / 10, lines * 15 / 9});
  for (std::size_t bit = kRates.size(); bit-- > 0;) {
    if ((code[2] >> bit & 1U) != 0) {
      Mode mode;
      mode.source = ModeSource::kCvt;
      mode.width = widths[code[1] >> 2 & 3U] / 8 * 8;
      mode.height = lines;
      mode.refreshMilliHz = kRates[bit] * 1000;
      description.modes.push_back(mode);
    }
  }
}

RangeLimits rangeLimits(Bytes descriptor, bool hasOffsets) {
  // Structure 1.4 has room for rates above 255: bit 1 raises the highest, both
  // bits raise the lowest, too.
  const unsigned offsets = hasOffsets ? descriptor[4] : 0U;
  const auto raised = [](std::uint8_t value, bool isRaised) { return value + (isRaised ? 255U : 0U); };
  RangeLimits range;
  range.minVerticalHz = raised(descriptor[5], (offsets & 3U) == 3);
  range.maxVerticalHz = raised(descriptor[6], (offsets & 2U) != 0);
  range.minHorizontalKhz = raised(descriptor[7], (offsets & 0xCU) == 0xC);
  range.maxHorizontalKhz = raised(descriptor[8], (offsets & 8U) != 0);
  range.maxPixelClockMhz = descriptor[9] * 10U;
  return range;
}

void describeDisplayDescriptor(Bytes descriptor, Description& description) {
  switch (descriptor[3]) {
    case kName:
      description.name = descriptorText(descriptor);
      break;
    case kSerial:
      description.serialText = descriptorText(descriptor);
      break;
    case kText:
      description.texts.push_back(descriptorText(descriptor));
      break;
    case kRangeLimits:
      description.range = rangeLimits(descriptor, description.revision >= 4);
      break;
    case kStandardTimings:
      for (std::size_t at = 5; at < 17; at += 2) {
        addStandard(descriptor[at], descriptor[at + 1], description);
      }
      break;
    case kCvtCodes:
      for (std::size_t at = 6; at < 18; at += 3) {
        addCvt(descriptor.subspan(at, 3), description);
      }
      break;
    case kEstablishedIII:
      addEstablished(descriptor.subspan(6, 6), moreEstablishedModes(), description);
      break;
    default:
      break;
  }
}

void describeInput(Bytes block, Description& description) {
  constexpr auto kDepths = std::to_array<std::uint32_t>({0, 6, 8, 10, 12, 14, 16, 0});
  constexpr auto kInterfaces = std::to_array<const char*>({"", "DVI", "HDMI-a", "HDMI-b", "MDDI", "DisplayPort"});
  const std::uint8_t input = block[20];
  description.digital = (input & 0x80U) != 0;
  if (description.digital && description.revision >= 4) {
    description.bitsPerColor = kDepths[input >> 4 & 7U];
    const std::size_t code = input & 0x0FU;
    description.videoInterface = code < kInterfaces.size() ? kInterfaces[code] : "";
  }
}

void describeScreen(Bytes block, Description& description) {
  const std::uint8_t width = block[21];
  const std::uint8_t height = block[22];
  // One of them alone tells a ratio, from structure 1.4 on.
  if (width != 0 && height != 0) {
    description.widthMm = width * kMillimetresPerCentimetre;
    description.heightMm = height * kMillimetresPerCentimetre;
  }
  if (block[23] != 0xFF) {
    description.gamma = (block[23] + 100) / 100.0;
  }
  description.srgb = (block[24] & 4U) != 0;
  description.continuousFrequency = (block[24] & 1U) != 0;
}

/// Whether a timing's size is the screen's, only more exact: some displays put
/// a mere ratio there.
bool isSameSize(std::uint32_t exactMm, std::uint32_t roundedMm) {
  return exactMm < roundedMm + kMillimetresPerCentimetre && roundedMm < exactMm + kMillimetresPerCentimetre;
}

void describeIdentity(Bytes block, Description& description) {
  constexpr std::uint8_t kModelYear = 0xFF;
  description.maker = makerLetters(block);
  description.product = device::readU16le(block, 10);
  description.serialNumber = device::readU32le(block, 12);
  description.isModelYear = block[16] == kModelYear;
  description.week = block[16] <= 54 ? block[16] : 0U;
  description.year = block[17] + 1990U;
  description.version = block[18];
  description.revision = block[19];
}

}  // namespace

void describeBase(Bytes block, Description& description) {
  describeIdentity(block, description);
  describeInput(block, description);
  describeScreen(block, description);
  // Before structure 1.4 a bit said whether the first timing is preferred at
  // all; from 1.4 on it says whether that is the native one.
  const bool firstBit = (block[24] & 2U) != 0;
  for (const std::size_t at : kBaseDescriptors) {
    const Bytes descriptor = block.subspan(at, kDescriptorSize);
    const auto timing = readDetailedTiming(descriptor);
    if (!timing) {
      describeDisplayDescriptor(descriptor, description);
      continue;
    }
    const bool isFirst = at == kBaseDescriptors[0];
    addDetailed(*timing, ModeSource::kDetailed, isFirst && (description.revision >= 3 || firstBit), description);
    description.modes.back().native = isFirst && description.revision >= 4 && firstBit;
    if (isFirst && isSameSize(timing->widthMm, description.widthMm) &&
        isSameSize(timing->heightMm, description.heightMm)) {
      description.widthMm = timing->widthMm;
      description.heightMm = timing->heightMm;
    }
  }
  addEstablished(block.subspan(35, 3), establishedModes(), description);
  for (std::size_t at = 38; at < 54; at += 2) {
    addStandard(block[at], block[at + 1], description);
  }
}

}  // namespace edid
