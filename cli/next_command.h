#pragma once

#include "cli/run.h"

namespace cli {

/// The command line that goes on where a change of firmware stopped: the same once more,
/// confirmed, for the system's usual shell.
/// @param verb for example "mcu upgrade"
/// @param expected the version that must read back; empty = not asked for
QString nextCommand(const Run& run, const QString& verb, const QString& path, const QString& expected);

}  // namespace cli
