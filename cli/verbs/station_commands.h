#pragma once

#include "cli/command.h"

namespace cli {

/// The parts of the verb station.
Command stationRunCommand();

}  // namespace cli
