#pragma once

#include <QString>

namespace device {

/// Whether a character must not reach a terminal as it is: control characters,
/// line and paragraph separators, and marks that turn the writing direction or
/// take no room.
bool isUnprintable(char16_t character);

/// A text from a device, a file or a scanner, fit to be shown in a line of a
/// terminal: what `isUnprintable` names appears as \uXXXX, half a surrogate pair
/// as U+FFFD.
QString printable(const QString& text);

}  // namespace device
