#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Judges an EDID before it is written into a device. Pure functions; no input
/// makes them fail.
namespace edid {

/// What is looked at. Each check has a name, under which a user may lift it.
enum class Check : std::uint8_t {
  kLength,    ///< a whole number of blocks, one at least
  kHeader,    ///< the eight bytes at the start
  kVersion,   ///< structure version 1
  kCount,     ///< the extension count against the length; native timings against those there are
  kChecksum,  ///< each block's, and a DisplayID section's own
  kTag,       ///< extension tags that E-EDID defines
  kMap,       ///< the block map against the blocks' tags
  kOffset,    ///< where a block says that its data and timings lie
  kTiming,    ///< detailed timings that no display could show
};

/// For example "checksum"; in lower case.
std::string_view nameOf(Check check);

/// Every check, in the order of the enumeration.
std::span<const Check> allChecks();

/// Something that is not as the standards want it.
struct Finding {
  Check check = Check::kLength;
  std::size_t block = 0;
  std::size_t offset = 0;  ///< from the start of the table
  std::string text;        ///< one plain-English clause, without block and offset
  bool refuses = true;     ///< false for what displays are known to live with
};

/// All findings, block by block.
std::vector<Finding> checkTable(std::span<const std::uint8_t> table);

/// Whether no finding refuses the table.
bool isAccepted(std::span<const Finding> findings);

/// A byte that `fixChecksums` changed.
struct ChangedByte {
  std::size_t offset = 0;  ///< from the start of the table
  std::uint8_t before = 0;
  std::uint8_t after = 0;
};

/// Makes every checksum of the table's whole blocks right; what is left over
/// behind them stays.
/// @return the bytes changed, in the order of their offsets
std::vector<ChangedByte> fixChecksums(std::span<std::uint8_t> table);

}  // namespace edid
