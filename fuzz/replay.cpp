/// @file
/// Runs a fuzz target over files and the files in directories. Exit code 0 if there was
/// at least one file and all passed; a breach ends the process.
#include "fuzz/target.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

namespace {

void replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
  // A buffer of the exact size, so that sanitizers detect any access beyond it.
  const std::unique_ptr<std::uint8_t[]> exact(new std::uint8_t[content.size()]);
  std::copy(content.begin(), content.end(), exact.get());
  LLVMFuzzerTestOneInput(exact.get(), content.size());
}

}  // namespace

int main(int argc, char* argv[]) {
  std::vector<std::filesystem::path> inputs;
  for (int i = 1; i < argc; ++i) {
    if (std::filesystem::is_directory(argv[i])) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
        if (entry.is_regular_file()) {
          inputs.push_back(entry.path());
        }
      }
    } else {
      inputs.emplace_back(argv[i]);
    }
  }
  if (inputs.empty()) {
    std::fprintf(stderr, "no input; name files or directories that hold some\n");
    return 2;
  }

  std::sort(inputs.begin(), inputs.end());
  for (const std::filesystem::path& input : inputs) {
    // Flushed, so that after a breach the last name printed is the culprit.
    std::printf("%s\n", input.filename().string().c_str());
    std::fflush(stdout);
    replay(input);
  }
  std::printf("%zu inputs, no breach\n", inputs.size());
  return 0;
}
