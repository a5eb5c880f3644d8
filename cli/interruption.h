#pragma once

/// Ctrl-C and requests to end, noted rather than obeyed at once: the command
/// under way looks at the note where it can stop.
namespace cli::interruption {

/// From here on a request is noted instead of ending the process.
void watch();

/// Whether there was one. Any thread.
bool isRequested();

/// Notes one, or takes the note back. Async-signal-safe.
void request(bool requested = true);

}  // namespace cli::interruption
