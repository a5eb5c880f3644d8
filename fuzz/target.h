/// @file
/// What a fuzz target must define and may use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Runs the target on one input. Returns 0; a breach ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the process, as a sanitizer would, unless `holds`.
inline void require(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "breach: %s\n", what);
    std::abort();
  }
}

}  // namespace fuzz
