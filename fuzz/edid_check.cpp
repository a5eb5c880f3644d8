/// @file
/// An arbitrary EDID: checked, described, its checksums repaired.
#include "edid/edid_check.h"

#include "edid/edid_description.h"
#include "fuzz/target.h"

#include <vector>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> table(data, size);
  for (const edid::Finding& finding : edid::checkTable(table)) {
    fuzz::require(!finding.text.empty(), "every finding says what it is");
    fuzz::require(finding.offset <= size && finding.block == finding.offset / 128, "a finding is within the table");
  }
  const auto description = edid::describe(table);
  fuzz::require(description.has_value() == (size >= 128), "a whole block is described");
  if (description) {
    for (const edid::Mode& mode : description->modes) {
      fuzz::require(!textOf(mode).empty() && textOf(mode.source)[0] != '\0', "every mode has a text");
    }
    for (const char letter : description->name + description->serialText + description->maker) {
      fuzz::require(letter >= 0x20 && letter <= 0x7E, "texts are printable");
    }
  }

  std::vector<std::uint8_t> repaired(table.begin(), table.end());
  const auto changes = edid::fixChecksums(repaired);
  std::vector<std::uint8_t> replayed(table.begin(), table.end());
  for (const edid::ChangedByte& change : changes) {
    fuzz::require(replayed.at(change.offset) == change.before, "a change reports the previous byte");
    replayed[change.offset] = change.after;
  }
  fuzz::require(replayed == repaired, "every change is reported");
  for (const edid::Finding& finding : edid::checkTable(repaired)) {
    fuzz::require(finding.check != edid::Check::kChecksum, "no wrong checksum is left");
  }
  return 0;
}
