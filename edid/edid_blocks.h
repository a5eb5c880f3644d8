#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// The layout of an EDID: blocks of 128 bytes and what CTA-861 and DisplayID
/// blocks are divided into. Sources: VESA E-EDID release A2, CTA-861-H, VESA
/// DisplayID 1.3 and 2.0. All offsets count from the start of the block.
///
/// Whatever the bytes say, nothing outside the given span is read.
namespace edid {

inline constexpr std::size_t kBlockSize = 128;
inline constexpr std::size_t kLastByte = kBlockSize - 1;  ///< where the checksum lies
inline constexpr std::size_t kDescriptorSize = 18;        ///< of a detailed timing or a display descriptor
/// Where the base block's four descriptors begin.
inline constexpr std::size_t kBaseDescriptors[] = {54, 72, 90, 108};
inline constexpr std::size_t kExtensionCountAt = 126;

inline constexpr std::uint8_t kCtaTag = 0x02;
inline constexpr std::uint8_t kDisplayIdTag = 0x70;
inline constexpr std::uint8_t kBlockMapTag = 0xF0;

using Bytes = std::span<const std::uint8_t>;

/// What an extension's tag means; empty for a tag that E-EDID does not define.
std::string_view extensionName(std::uint8_t tag);

/// The value that a block's last byte must have, so that all add up to 0.
/// `block` holds at least one block.
std::uint8_t blockChecksum(Bytes block);

/// One data block of CTA-861.
struct CtaDataBlock {
  std::uint8_t tag = 0;          ///< 1 to 7; 7 means that `extendedTag` counts
  std::uint8_t extendedTag = 0;  ///< 0 unless `tag` is 7
  Bytes payload;                 ///< what follows the header and the extended tag
};

/// The data blocks of a CTA-861 extension, or of a DisplayID data block that holds such.
struct CtaDataBlocks {
  std::vector<CtaDataBlock> whole;
  std::optional<std::size_t> overrunningAt;  ///< where the one begins that runs beyond the end
};

/// Divides `bytes`, which begin with a data block. Leaves out a block of tag 7 that
/// ends before its extended tag.
CtaDataBlocks readCtaDataBlocks(Bytes bytes);

/// A CTA-861 extension, divided.
struct CtaExtension {
  std::uint8_t revision = 0;
  std::uint8_t timingsAt = 0;                ///< byte 2: where the detailed timings begin; 0 = neither these nor data
  std::uint8_t flags = 0;                    ///< byte 3
  std::vector<CtaDataBlock> dataBlocks;      ///< those that end before the timings
  std::optional<std::size_t> overrunningAt;  ///< the data block that does not
  std::vector<std::size_t> timings;          ///< offsets of the detailed timings
};

/// Divides a CTA-861 extension; `block` holds at least one block.
CtaExtension readCtaExtension(Bytes block);

/// One data block of a DisplayID extension.
struct DisplayIdDataBlock {
  std::uint8_t tag = 0;
  Bytes payload;
};

/// A DisplayID extension, divided.
struct DisplayIdSection {
  std::uint8_t version = 0;               ///< 0x12 = 1.2, 0x20 = 2.0
  std::optional<std::size_t> checksumAt;  ///< of the section's own checksum; empty when it lies outside the block
  std::uint8_t checksum = 0;              ///< the value it must have
  std::vector<DisplayIdDataBlock> dataBlocks;
  std::optional<std::size_t> overrunningAt;  ///< the data block that leaves the section
};

/// Divides a DisplayID extension; `block` holds at least one block.
DisplayIdSection readDisplayIdSection(Bytes block);

}  // namespace edid
