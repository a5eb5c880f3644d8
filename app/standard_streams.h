#pragma once

/// Makes standard streams that are closed, or that nobody reads any more,
/// harmless: writing to them fails, and the program continues. Call it before
/// anything opens a file, on the main thread.
void secureStandardStreams();
