#pragma once

#include <QLatin1String>

namespace cli {

/// What the program ends with; docs/command-line.md explains each to users.
enum class ExitCode {
  kDone = 0,           ///< done, or nothing needed doing
  kFailed = 1,         ///< failed; the device can be used
  kUsage = 2,          ///< the command line is wrong; nothing touched
  kNoDevice = 3,       ///< no device or no connection
  kLibrary = 4,        ///< device library missing or wrong
  kRefused = 5,        ///< input refused, nothing written
  kMismatch = 6,       ///< written, but reads back differently
  kUnchecked = 7,      ///< written, but could not be checked
  kInUse = 8,          ///< another instance holds the device
  kRecovery = 9,       ///< the device needs the command that is printed
  kUnconfirmed = 10,   ///< confirmation missing or declined
  kDifference = 11,    ///< a replay, or a recording, differs from the recording
  kLedger = 12,        ///< the station's ledger cannot be used
  kInterrupted = 130,  ///< interrupted before any write
};

/// The word for it in JSON, for example "refused".
QLatin1String exitCodeName(ExitCode code);

}  // namespace cli
