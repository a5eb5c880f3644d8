#pragma once

#include "cli/command.h"

#include <vector>

namespace cli {

/// The parts of the verb edid.
std::vector<Command> edidSettingCommands();  ///< mode, default
std::vector<Command> edidTableCommands();    ///< show, check, read, write

}  // namespace cli
