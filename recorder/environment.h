#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace recorder {

/// A variable of the environment as a path; empty when it is not set.
std::filesystem::path environmentPath(const char* name);

/// The same as text of ASCII letters; others are lost.
std::string environmentText(const char* name);

/// A whole number; `otherwise` when the variable is not set or says none.
std::uint64_t environmentNumber(const char* name, std::uint64_t otherwise);

/// The file that holds the code at an address; empty when that is not known.
std::filesystem::path fileOfCode(const void* address);

/// Number of this process.
unsigned long processNumber();

}  // namespace recorder
