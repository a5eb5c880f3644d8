#pragma once

#include <chrono>

/// Ctrl-C and requests to end, noted rather than obeyed at once: the command
/// under way looks at the note where it can stop.
namespace cli::interruption {

/// From here on a request is noted instead of ending the process. A signal that the
/// process was started to ignore stays ignored.
void watch();

/// Whether there was one. Any thread.
bool isRequested();

/// Pauses until there is one, or until the time is over; wakes for nothing else. One
/// thread at a time.
void waitForRequest(std::chrono::nanoseconds atMost);

/// Notes one, or takes the note back. Async-signal-safe.
void request(bool requested = true);

}  // namespace cli::interruption
