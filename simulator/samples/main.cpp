#include "simulator/samples/samples.h"

#include <cstdio>
#include <string_view>
#include <system_error>

/// Usage: pellavox-samples DIRECTORY|--help. Exit code 0 when all sample files were
/// written there.
int main(int argc, char* argv[]) {
  const std::string_view argument(argc == 2 ? argv[1] : "");
  if (argument == "--help" || argument == "-h") {
    std::printf("usage: pellavox-samples DIRECTORY\nMakes sample files for the simulated device there.\n");
    return 0;
  }
  if (argument.empty() || argument.front() == '-') {
    std::fprintf(stderr, "usage: pellavox-samples DIRECTORY\n");
    return 2;
  }
  const std::filesystem::path directory(argv[1]);
  std::error_code error;  // shows when the first file is written
  std::filesystem::create_directories(directory, error);
  for (const samples::Sample& sample : samples::all()) {
    if (!samples::write(sample, directory)) {
      std::fprintf(stderr, "%s: %s cannot be written there; name a directory that can be written\n", argv[1],
                   sample.name);
      return 1;
    }
    std::printf("%-20s %s\n", sample.name, sample.use);
  }
  return 0;
}
