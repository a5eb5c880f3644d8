/// @file
/// EDIDs as displays of all kinds have them, built from the facts of public
/// tables: CTA-861 and VESA DMT timings, VESA CVT for the others.
#pragma once

#include "tests/edid/edid_builder.h"

namespace edid_test {

/// A display's EDID with what it says to a person.
struct SampleDisplay {
  const char* kind;
  Table table;
  const char* name;       ///< of the name descriptor
  const char* preferred;  ///< mode
  unsigned widthMm;
  unsigned heightMm;
};

/// Monitors, panels, projectors: no CTA-861 extension, or none that tells of HDMI.
std::vector<SampleDisplay> sampleMonitors();
/// What is plugged into an HDMI output.
std::vector<SampleDisplay> sampleTelevisions();
/// Both.
std::vector<SampleDisplay> sampleDisplays();

}  // namespace edid_test
