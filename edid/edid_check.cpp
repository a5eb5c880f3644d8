#include "edid/edid_check.h"

#include "edid/detailed_timing.h"
#include "edid/edid_blocks.h"

#include <algorithm>
#include <array>

namespace edid {
namespace {

constexpr auto kHeader = std::to_array<std::uint8_t>({0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00});
constexpr std::size_t kVersionAt = 18;
constexpr std::size_t kRevisionAt = 19;

struct NamedCheck {
  Check check;
  std::string_view name;
};

constexpr auto kNames = std::to_array<NamedCheck>({
    {Check::kLength, "length"},
    {Check::kHeader, "header"},
    {Check::kVersion, "version"},
    {Check::kCount, "count"},
    {Check::kChecksum, "checksum"},
    {Check::kTag, "tag"},
    {Check::kMap, "map"},
    {Check::kOffset, "offset"},
    {Check::kTiming, "timing"},
});

std::string hex(std::uint8_t value) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  return {'0', 'x', kDigits[value >> 4U], kDigits[value & 0x0FU]};
}

std::string counted(std::size_t count, std::string_view what) {
  return std::to_string(count) + ' ' + std::string(what) + (count == 1 ? "" : "s");
}

/// Judges a table and collects what it finds.
class Judge {
 public:
  explicit Judge(Bytes table) : table_(table), blocks_(table.size() / kBlockSize) {}

  std::vector<Finding> findings() {
    checkLength();
    checkHeader();
    if (blocks_ != 0) {
      checkBase();
      for (std::size_t block = 1; block < blocks_; ++block) {
        checkExtension(block);
      }
      checkNativeTimings();
    }
    std::stable_sort(findings_.begin(), findings_.end(),
                     [](const Finding& left, const Finding& right) { return left.block < right.block; });
    return std::move(findings_);
  }

 private:
  Bytes blockAt(std::size_t block) const { return table_.subspan(block * kBlockSize, kBlockSize); }

  void add(Check check, std::size_t block, std::size_t at, std::string text, bool refuses = true) {
    findings_.push_back({check, block, block * kBlockSize + at, std::move(text), refuses});
  }

  void checkLength() {
    if (table_.empty()) {
      add(Check::kLength, 0, 0, "the table is empty");
    } else if (const std::size_t rest = table_.size() % kBlockSize; rest != 0) {
      add(Check::kLength, blocks_, 0, counted(table_.size(), "byte") + ", which is no multiple of 128");
    }
  }

  void checkHeader() {
    for (std::size_t i = 0; i < std::min(kHeader.size(), table_.size()); ++i) {
      if (table_[i] != kHeader[i]) {
        add(Check::kHeader, 0, i, "header byte is " + hex(table_[i]) + " instead of " + hex(kHeader[i]));
      }
    }
  }

  void checkBase() {
    const Bytes base = blockAt(0);
    if (base[kVersionAt] != 1) {
      add(Check::kVersion, 0, kVersionAt, "structure version " + std::to_string(base[kVersionAt]) + " instead of 1");
    }
    for (const std::size_t at : kBaseDescriptors) {
      checkTiming(0, at);
    }
    const bool hasTiming = base[kBaseDescriptors[0]] != 0 || base[kBaseDescriptors[0] + 1] != 0;
    if (!hasTiming && base[kVersionAt] == 1 && base[kRevisionAt] >= 3) {
      add(Check::kTiming, 0, kBaseDescriptors[0], "the first descriptor is no detailed timing");
    }
    const std::size_t count = base[kExtensionCountAt];
    if (table_.size() % kBlockSize == 0 && count != blocks_ - 1) {
      add(Check::kCount, 0, kExtensionCountAt,
          counted(count, "extension") + " promised, " + std::to_string(blocks_ - 1) + " there");
    }
    checkChecksum(0);
  }

  void checkChecksum(std::size_t block) {
    const Bytes bytes = blockAt(block);
    if (const std::uint8_t right = blockChecksum(bytes); bytes[kLastByte] != right) {
      add(Check::kChecksum, block, kLastByte, "checksum is " + hex(bytes[kLastByte]) + " instead of " + hex(right));
    }
  }

  void checkTiming(std::size_t block, std::size_t at) {
    const auto timing = readDetailedTiming(blockAt(block).subspan(at, kDescriptorSize));
    if (timing && timing->fault() != nullptr) {
      add(Check::kTiming, block, at, std::string("detailed timing: ") + timing->fault());
    }
  }

  void checkExtension(std::size_t block) {
    const std::uint8_t tag = blockAt(block)[0];
    if (extensionName(tag).empty()) {
      add(Check::kTag, block, 0, "unknown extension tag " + hex(tag));
    } else if (tag == kCtaTag) {
      checkCta(block);
    } else if (tag == kDisplayIdTag) {
      checkDisplayId(block);
    } else if (tag == kBlockMapTag) {
      checkMap(block);
    }
    const bool needsMap = block == 1 && blocks_ > 2 && table_[kVersionAt] == 1 && table_[kRevisionAt] <= 3;
    if (needsMap && tag != kBlockMapTag) {
      add(Check::kMap, block, 0, "no block map, although there is more than one extension", false);
    }
    checkChecksum(block);
  }

  void checkCta(std::size_t block) {
    const Bytes bytes = blockAt(block);
    const CtaExtension cta = readCtaExtension(bytes);
    if (cta.revision == 0) {
      add(Check::kVersion, block, 1, "CTA-861 revision 0");
    }
    if (cta.timingsAt != 0 && cta.timingsAt < 4) {
      add(Check::kOffset, block, 2, "the timings' offset " + std::to_string(cta.timingsAt) + " lies in the header");
    } else if (cta.timingsAt > kLastByte) {
      add(Check::kOffset, block, 2, "the timings' offset " + std::to_string(cta.timingsAt) + " lies outside the block");
    }
    if (cta.overrunningAt) {
      add(Check::kOffset, block, *cta.overrunningAt, "the data block runs beyond the data's end");
    }
    for (const std::size_t at : cta.timings) {
      checkTiming(block, at);
    }
  }

  void checkDisplayId(std::size_t block) {
    const Bytes bytes = blockAt(block);
    const DisplayIdSection section = readDisplayIdSection(bytes);
    if (!section.checksumAt) {
      add(Check::kOffset, block, 2, "the DisplayID section of " + counted(bytes[2], "byte") + " leaves the block");
    } else if (bytes[*section.checksumAt] != section.checksum) {
      add(Check::kChecksum, block, *section.checksumAt,
          "DisplayID checksum is " + hex(bytes[*section.checksumAt]) + " instead of " + hex(section.checksum));
    }
    if (section.overrunningAt) {
      add(Check::kOffset, block, *section.overrunningAt, "the data block runs beyond the section's end");
    }
  }

  void checkMap(std::size_t block) {
    // A map lists the tags of the blocks behind it, up to the next map.
    constexpr std::size_t kSecondMap = 128;
    if (block != 1 && block != kSecondMap) {
      add(Check::kMap, block, 0, "block map elsewhere than in block 1 or 128");
      return;
    }
    const Bytes bytes = blockAt(block);
    for (std::size_t at = 1; at < kLastByte; ++at) {
      const std::size_t mapped = block + at;
      const std::uint8_t tag = mapped < blocks_ ? blockAt(mapped)[0] : std::uint8_t{0};
      if (bytes[at] != tag) {
        add(Check::kMap, block, at,
            "the map has tag " + hex(bytes[at]) + " for block " + std::to_string(mapped) +
                (mapped < blocks_ ? ", which has " + hex(tag) : ", which does not exist"));
      }
    }
  }

  void checkNativeTimings() {
    std::size_t there = 0;
    for (const std::size_t at : kBaseDescriptors) {
      there += table_[at] != 0 || table_[at + 1] != 0 ? 1U : 0U;
    }
    for (std::size_t block = 1; block < blocks_; ++block) {
      there += blockAt(block)[0] == kCtaTag ? readCtaExtension(blockAt(block)).timings.size() : 0;
    }
    for (std::size_t block = 1; block < blocks_; ++block) {
      const Bytes bytes = blockAt(block);
      const std::size_t native = bytes[3] & 0x0FU;
      if (bytes[0] == kCtaTag && bytes[1] >= 2 && native > there) {
        add(Check::kCount, block, 3,
            counted(native, "native timing") + " promised, " + std::to_string(there) + " there");
      }
    }
  }

  Bytes table_;
  std::size_t blocks_;  ///< whole ones
  std::vector<Finding> findings_;
};

}  // namespace

std::string_view nameOf(Check check) { return kNames[static_cast<std::size_t>(check)].name; }

std::span<const Check> allChecks() {
  static constexpr std::array kChecks = [] {
    std::array<Check, kNames.size()> checks{};
    std::transform(kNames.begin(), kNames.end(), checks.begin(), [](const NamedCheck& entry) { return entry.check; });
    return checks;
  }();
  return kChecks;
}

std::vector<Finding> checkTable(std::span<const std::uint8_t> table) { return Judge(table).findings(); }

bool isAccepted(std::span<const Finding> findings) {
  return std::none_of(findings.begin(), findings.end(), [](const Finding& finding) { return finding.refuses; });
}

std::vector<ChangedByte> fixChecksums(std::span<std::uint8_t> table) {
  std::vector<ChangedByte> changes;
  const auto put = [&](std::size_t offset, std::uint8_t value) {
    if (table[offset] != value) {
      changes.push_back({offset, table[offset], value});
      table[offset] = value;
    }
  };
  for (std::size_t start = 0; start + kBlockSize <= table.size(); start += kBlockSize) {
    const std::span<std::uint8_t> block = table.subspan(start, kBlockSize);
    // The section's checksum counts in the block's.
    if (start != 0 && block[0] == kDisplayIdTag) {
      const DisplayIdSection section = readDisplayIdSection(block);
      if (section.checksumAt) {
        put(start + *section.checksumAt, section.checksum);
      }
    }
    put(start + kLastByte, blockChecksum(block));
  }
  return changes;
}

}  // namespace edid
