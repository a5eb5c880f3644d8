#pragma once

#include <atomic>

/// SQLite on a disk that runs full, or with files that cannot be written, for this
/// process. Stands between SQLite and the system, so that it needs neither a small
/// disk nor an account without rights.
namespace full_disk {

/// From here on files are opened so.
/// @param writes how many writes succeed; negative = all
/// @param readOnly whether files open for reading only
void use(long writes, bool readOnly);

}  // namespace full_disk
