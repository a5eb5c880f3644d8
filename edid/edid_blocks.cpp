#include "edid/edid_blocks.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace edid {
namespace {

struct ExtensionName {
  std::uint8_t tag;
  std::string_view name;
};

// VESA E-EDID release A2, table 2.2 and the extensions' own standards.
constexpr ExtensionName kExtensionNames[] = {
    {kCtaTag, "CTA-861"},
    {0x10, "Video Timing"},
    {0x20, "EDID 2.0"},
    {0x40, "Display Information"},
    {0x50, "Localized String"},
    {0x60, "Digital Packet Video Link"},
    {kDisplayIdTag, "DisplayID"},
    {0xA7, "Display Transfer Characteristics"},
    {0xAF, "Display Transfer Characteristics"},
    {0xBF, "Display Transfer Characteristics"},
    {kBlockMapTag, "Block Map"},
    {0xFF, "Maker's own"},
};

constexpr std::size_t kCtaHeader = 4;
constexpr std::uint8_t kExtended = 7;

std::uint8_t complement(Bytes bytes) {
  return static_cast<std::uint8_t>(0x100U - (std::accumulate(bytes.begin(), bytes.end(), 0U) & 0xFFU));
}

}  // namespace

std::string_view extensionName(std::uint8_t tag) {
  for (const ExtensionName& entry : kExtensionNames) {
    if (entry.tag == tag) {
      return entry.name;
    }
  }
  return {};
}

std::uint8_t blockChecksum(Bytes block) { return complement(block.first(kLastByte)); }

CtaDataBlocks readCtaDataBlocks(Bytes bytes) {
  CtaDataBlocks blocks;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t length = bytes[at] & 0x1FU;
    if (at + 1 + length > bytes.size()) {
      blocks.overrunningAt = at;
      break;
    }
    CtaDataBlock data{static_cast<std::uint8_t>(bytes[at] >> 5), 0, bytes.subspan(at + 1, length)};
    at += 1 + length;
    if (data.tag == kExtended) {
      if (length == 0) {
        continue;
      }
      data.extendedTag = data.payload[0];
      data.payload = data.payload.subspan(1);
    }
    blocks.whole.push_back(data);
  }
  return blocks;
}

CtaExtension readCtaExtension(Bytes block) {
  CtaExtension cta{block[1], block[2], block[3], {}, {}, {}};
  if (cta.timingsAt < kCtaHeader) {
    return cta;
  }
  // Revisions 1 and 2 have no data blocks; what lies there is reserved.
  if (cta.revision >= 3) {
    const std::size_t end = std::min<std::size_t>(cta.timingsAt, kLastByte);
    CtaDataBlocks data = readCtaDataBlocks(block.first(end).subspan(kCtaHeader));
    cta.dataBlocks = std::move(data.whole);
    if (data.overrunningAt) {
      cta.overrunningAt = kCtaHeader + *data.overrunningAt;
    }
  }
  for (std::size_t at = cta.timingsAt; at + kDescriptorSize <= kLastByte; at += kDescriptorSize) {
    // Without a pixel clock it is a display descriptor, or padding.
    if (block[at] != 0 || block[at + 1] != 0) {
      cta.timings.push_back(at);
    }
  }
  return cta;
}

DisplayIdSection readDisplayIdSection(Bytes block) {
  // Behind the tag: version, length of the data, product type, number of
  // extensions, the data, a checksum of all these.
  constexpr std::size_t kDataAt = 5;
  constexpr std::size_t kDataHeader = 3;
  DisplayIdSection section;
  section.version = block[1];
  const std::size_t end = kDataAt + block[2];
  if (end < kLastByte) {
    section.checksumAt = end;
    section.checksum = complement(block.subspan(1, end - 1));
  }
  const std::size_t last = std::min(end, kLastByte);
  for (std::size_t at = kDataAt; at + kDataHeader <= last;) {
    const std::size_t length = block[at + 2];
    // Zeros fill a section up.
    if (block[at] == 0 && block[at + 1] == 0 && length == 0) {
      break;
    }
    if (at + kDataHeader + length > last) {
      section.overrunningAt = at;
      break;
    }
    section.dataBlocks.push_back({block[at], block.subspan(at + kDataHeader, length)});
    at += kDataHeader + length;
  }
  return section;
}

}  // namespace edid
