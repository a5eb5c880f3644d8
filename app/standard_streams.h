#pragma once

/// Keeps a standard stream that is closed, or that nobody reads any more, from
/// doing harm: writing to it fails, and the program goes on. Call it before
/// anything opens a file, on the main thread.
void secureStandardStreams();
