/// @file
/// Files to try the firmware, key and EDID buttons with; of use to the simulated
/// device only.
#pragma once

#include <filesystem>
#include <vector>

namespace samples {

struct Sample {
  const char* name;  ///< of the file
  const char* use;
  std::vector<char> content;
};

/// All sample files, the same at each call.
std::vector<Sample> all();

/// Writes a file into an existing directory.
/// @return whether all of it is there
bool write(const Sample& sample, const std::filesystem::path& directory);

}  // namespace samples
