#include "cli/exit_code.h"

namespace cli {

QLatin1String exitCodeName(ExitCode code) {
  switch (code) {
    case ExitCode::kDone:
      return QLatin1String("done");
    case ExitCode::kFailed:
      return QLatin1String("failed");
    case ExitCode::kUsage:
      return QLatin1String("usage");
    case ExitCode::kNoDevice:
      return QLatin1String("noDevice");
    case ExitCode::kLibrary:
      return QLatin1String("library");
    case ExitCode::kRefused:
      return QLatin1String("refused");
    case ExitCode::kMismatch:
      return QLatin1String("mismatch");
    case ExitCode::kUnchecked:
      return QLatin1String("unchecked");
    case ExitCode::kInUse:
      return QLatin1String("inUse");
    case ExitCode::kRecovery:
      return QLatin1String("recovery");
    case ExitCode::kUnconfirmed:
      return QLatin1String("unconfirmed");
    case ExitCode::kDifference:
      return QLatin1String("difference");
    case ExitCode::kLedger:
      return QLatin1String("ledger");
    case ExitCode::kInterrupted:
      return QLatin1String("interrupted");
  }
  return QLatin1String("failed");
}

}  // namespace cli
