#pragma once

#include <tl/expected.hpp>

#include <filesystem>
#include <string>

namespace gate {

/// A library in this process's memory. It stays there until the process ends:
/// a thread of its own may still run its code.
class LoadedFile {
 public:
  using Function = void (*)();

  /// Loads a library; on Windows its own dependencies are looked for beside it
  /// and in the system folder only.
  /// @return or why not, in the system's words
  static tl::expected<LoadedFile, std::string> open(const std::filesystem::path& file);

  /// A function the library exports, or null.
  Function find(const char* name) const;

 private:
  explicit LoadedFile(void* handle) : handle_(handle) {}
  void* handle_;
};

}  // namespace gate
