#include "simulator/samples/samples.h"

#include <cstdio>
#include <string_view>
#include <system_error>

namespace {

int makeSamples(const char* name, const std::vector<samples::Sample>& files) {
  const std::filesystem::path directory(name);
  std::error_code error;  // shows when the first file is written
  std::filesystem::create_directories(directory, error);
  for (const samples::Sample& sample : files) {
    if (!samples::write(sample, directory)) {
      std::fprintf(stderr, "%s: %s cannot be written there; name a directory that can be written\n", name,
                   sample.name.c_str());
      return 1;
    }
    std::printf("%-20s %s\n", sample.name.c_str(), sample.use);
  }
  return 0;
}

}  // namespace

/// Exit code 0 when all sample files were written, 1 when one was not, 2 for
/// wrong arguments.
int main(int argc, char* argv[]) {
  constexpr char kUsage[] = "usage: pellavox-samples [--station] DIRECTORY";
  if (argc == 3 && std::string_view(argv[1]) == "--station" && *argv[2] != '\0') {
    return makeSamples(argv[2], samples::station());
  }
  const std::string_view argument = argc == 2 ? argv[1] : "";
  if (argument == "--help" || argument == "-h") {
    std::printf(
        "%s\n\n"
        "Writes files to try the firmware, key and EDID buttons with into DIRECTORY;\n"
        "with --station, the job of a production line with its files.\n"
        "They are for the simulated device only: never load them into a real one.\n\n",
        kUsage);
    for (const samples::Sample& sample : samples::all()) {
      std::printf("  %-20s %s\n", sample.name.c_str(), sample.use);
    }
    return 0;
  }
  if (argument.empty() || argument == "--station") {
    std::fprintf(stderr, "%s\n", kUsage);
    return 2;
  }
  if (argument.starts_with('-')) {
    std::fprintf(stderr, "pellavox-samples: unknown option %s; %s\n", argv[1], kUsage);
    return 2;
  }
  return makeSamples(argv[1], samples::all());
}
