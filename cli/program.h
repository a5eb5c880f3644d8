#pragma once

#include "cli/command.h"
#include "cli/console.h"
#include "cli/exit_code.h"

#include <QStringList>

namespace cli {

/// All options and verbs of the program.
const Command& program();

/// Runs one command line.
/// @param arguments without the program's name
ExitCode run(const QStringList& arguments, const Console& console);

}  // namespace cli
