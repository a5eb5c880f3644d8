#pragma once

#include "edid/detailed_timing.h"
#include "edid/edid_blocks.h"
#include "edid/edid_description.h"

/// Parts of describe(); each adds to the description what one kind of block says.
namespace edid {

/// `block` holds at least one block in all of these.
void describeBase(Bytes block, Description& description);
void describeCta(Bytes block, Description& description);
void describeDisplayId(Bytes block, Description& description);

/// One data block of a CTA-861 extension, or of a DisplayID block that holds
/// such.
void describeCtaDataBlock(const CtaDataBlock& data, Description& description);

/// Adds a detailed timing to the modes.
void addDetailed(const DetailedTiming& timing, ModeSource source, bool preferred, Description& description);

/// The names of the bits that are set in `byte`, lowest first; empty names are
/// reserved bits.
template <typename Names>
void addBitNames(std::uint8_t byte, const Names& names, std::vector<std::string>& list) {
  unsigned bit = 0;
  for (const auto& name : names) {
    if ((byte >> bit & 1U) != 0 && name[0] != '\0') {
      list.emplace_back(name);
    }
    ++bit;
  }
}

}  // namespace edid
