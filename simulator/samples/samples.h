/// @file
/// Files to try the firmware, key and EDID buttons and a production line with; of use
/// to the simulated device only.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace samples {

struct Sample {
  std::string name;  ///< of the file; may begin with a folder
  const char* use;
  std::vector<char> content;
};

/// All sample files, the same at each call.
std::vector<Sample> all();

/// The files of a production line: a job, its images and tables, and keys.
std::vector<Sample> station();

/// Writes a file into an existing directory; makes the folder in its name.
/// @return whether all of it is there
bool write(const Sample& sample, const std::filesystem::path& directory);

}  // namespace samples
