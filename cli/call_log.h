#pragma once

namespace cli {

class Run;

/// From here on each call of the device library is written where -v and --log
/// ask for it.
/// @throws Failure (usage) when the log cannot be written
void observeCalls(const Run& run);

}  // namespace cli
