#pragma once

#include "cli/command.h"

#include <vector>

/// The verbs of the program. To add one:
///
/// 1. Write cli/verbs/NAME.cpp with a function `Command nameVerb()`. Its actions
///    are plain sequences: `const DeviceSession session(run);` opens the device
///    and closes it on every way out; calls of the feature folders read it;
///    a `Document` collects what came back and `run.finish(document)` prints it,
///    for people or as JSON. What sets a value fills a `Change` and calls
///    `apply`: that reads before, asks, writes and reads back. What cannot go on
///    throws a `Failure` with the exit code.
/// 2. Declare it below, add it to `verbs()` in cli/verb.cpp, and its file to
///    cli/CMakeLists.txt.
/// 3. Describe its JSON in cli/schemas/NAME.json. docs/architecture.md lists the tests
///    and documents that want its command lines.
///
/// Help, man page and shell completions include it automatically.
namespace cli {

Command audioVerb();
Command captureVerb();
Command completionVerb();
Command diffVerb();
Command edidVerb();
Command doctorVerb();
Command gpioVerb();
Command hdcpVerb();
Command i2cVerb();
Command infoVerb();
Command manualVerb();
Command mcuVerb();
Command rebootVerb();
Command recordVerb();
Command recordingVerb();
Command replayVerb();
Command restoreVerb();
Command rxVerb();
Command serialVerb();
Command snapshotVerb();
Command stationVerb();
Command videoVerb();
Command watchVerb();

/// All verbs, in the order in which help lists them.
std::vector<Command> verbs();

}  // namespace cli
