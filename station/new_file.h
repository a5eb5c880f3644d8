#pragma once

#include <QString>

namespace station {

/// Gives a finished file its name, in one step.
/// @param draft the file, in the same folder
/// @return false when there is a file of that name, or none can be made; the draft is
///         still there then, and nothing else was changed
bool giveName(const QString& draft, const QString& path);

}  // namespace station
