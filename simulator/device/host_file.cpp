#include "simulator/device/host_file.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace simulator {

std::optional<std::vector<std::uint8_t>> readHostFile(const char* path, std::size_t maxSize) {
  const std::string utf8(path);
  std::filesystem::path file;
  try {
    file = std::u8string(utf8.begin(), utf8.end());
  } catch (const std::system_error&) {
    return std::nullopt;  // not UTF-8, on a system where paths are not bytes
  }
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) {
    return std::nullopt;
  }
  const std::uintmax_t size = std::filesystem::file_size(file, error);
  if (error || size == 0 || size > maxSize) {
    return std::nullopt;
  }
  std::vector<std::uint8_t> content(static_cast<std::size_t>(size));
  std::ifstream stream(file, std::ios::binary);
  stream.read(reinterpret_cast<char*>(content.data()), static_cast<std::streamsize>(content.size()));
  // A file that has shrunk since is no longer the one that was asked for.
  if (static_cast<std::uintmax_t>(stream.gcount()) != size) {
    return std::nullopt;
  }
  return content;
}

}  // namespace simulator
