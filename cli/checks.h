#pragma once

#include <QString>

#include <vector>

namespace cli {

/// A check that refuses an input before anything is written, and that
/// --force=NAME lifts.
struct Check {
  const char* name;
  const char* what;  ///< what it asks for, for the documents
};

namespace checks {
inline constexpr Check kModel{"model", "the image names the connected model"};
inline constexpr Check kFamily{"family", "the image is not made for another MCU family"};
inline constexpr Check kSerial{"serial", "the serial number has at most 16 characters, all of which survive"};
inline constexpr Check kRange{"range", "the value lies in the range that the device is known to take"};
}  // namespace checks

/// The checks of an EDID, too, under the names that edid/edid_check.h gives them.
std::vector<Check> allChecks();

/// The names, for a message: "model, family, ..."
QString checkNames();

}  // namespace cli
