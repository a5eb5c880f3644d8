#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace simulator {

/// A text as one printable line for stderr. Whatever could move the cursor,
/// hide letters or change their order becomes '?': control characters, line and
/// paragraph separators, zero-width and bidirectional characters, and bytes that
/// are not UTF-8. Texts over 2000 bytes end in "...".
std::string errorLine(std::string_view text);
/// "FILE: text" as such a line.
std::string errorLine(const std::filesystem::path& file, std::string_view text);

}  // namespace simulator
