/// @file
/// EDIDs of many kinds of displays, built from published timings: CTA-861 and VESA DMT,
/// VESA CVT for the others.
#pragma once

#include "tests/edid/edid_builder.h"

namespace edid_test {

/// A display's EDID and its readable content.
struct SampleDisplay {
  const char* kind;
  Table table;
  const char* name;       ///< of the name descriptor
  const char* preferred;  ///< mode
  unsigned widthMm;
  unsigned heightMm;
};

/// Monitors, panels, projectors: without HDMI data in a CTA-861 extension.
std::vector<SampleDisplay> sampleMonitors();
/// Displays for an HDMI output.
std::vector<SampleDisplay> sampleTelevisions();
/// Both.
std::vector<SampleDisplay> sampleDisplays();

}  // namespace edid_test
