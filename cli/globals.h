#pragma once

#include "cli/command.h"
#include "device/usb_ids.h"

#include <chrono>
#include <optional>
#include <vector>

namespace cli {

enum class ProgressMode { kAuto, kBar, kLines, kJson, kNone };

/// What the program's own options say.
struct Globals {
  device::UsbIds ids;
  QString model;  ///< as the user names it, for example "KVR-7"
  bool json = false;
  bool quiet = false;
  bool verbose = false;
  bool yes = false;
  bool dryRun = false;
  bool always = false;  ///< write also what is right already
  bool colour = true;
  std::optional<std::chrono::milliseconds> wait;  ///< for the device, or for whoever holds it
  ProgressMode progress = ProgressMode::kAuto;
  QString logFile;
  QString library;       ///< empty = the one beside the program
  QString confirmation;  ///< the word given with --confirm
  QStringList forced;    ///< names of checks
};

/// The options that stand for these.
std::vector<Option> globalOptions();

/// @throws Failure (usage) for a value that is not allowed
Globals readGlobals(const Arguments& arguments);

}  // namespace cli
