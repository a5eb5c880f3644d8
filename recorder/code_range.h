#pragma once

#include <cstdint>

namespace recorder {

/// Where a library lies in memory.
struct CodeRange {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;

  bool contains(const void* address) const {
    const auto place = reinterpret_cast<std::uintptr_t>(address);
    return place >= begin && place < end;
  }

  /// That of the library that holds an address. Empty on Windows, where a
  /// library's calls of its own functions never leave it.
  static CodeRange ofLibraryAround(const void* address);
};

}  // namespace recorder
