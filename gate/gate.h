#pragma once

#include "device/operations.h"

#include <tl/expected.hpp>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

/// The device library's 44 functions for programs that load it at run time:
/// linking with `pellavox_gate` defines them, and each forwards to the library
/// that `load` found. Nothing is loaded before that.
namespace gate {

/// What a function returns while no library is loaded.
inline constexpr std::int32_t kNotLoaded = -2'000'000'001;
/// What a changing function returns while changes are refused.
inline constexpr std::int32_t kRefused = -2'000'000'002;

/// Why a library cannot be used.
struct LoadError {
  std::string file;       ///< as it was asked for, UTF-8
  std::string operation;  ///< the first one it lacks; empty when it is no library at all
  std::string reason;     ///< the system's words, one line

  /// One line that names file and operation.
  std::string text() const;
};

/// Loads a library and finds all operations in it. A library that lacks one is
/// not used at all. A library loaded earlier stays in memory, but is not called
/// any more. Must not run while one of the 44 functions does.
tl::expected<void, LoadError> load(const std::filesystem::path& file);

/// Whether a library is in use.
bool isLoaded();

/// From here on every operation that changes the device returns `kRefused`,
/// whoever calls it, and does not reach the library. Any thread.
void refuseChanges(bool refuse);

/// How many calls have been refused since the program started. Any thread.
unsigned refusedCalls();

/// Sets who is told, in one line without a line feed, why a library that stands in for
/// the device's own cannot be used; empty = the library says it on standard error. Such
/// a library exports `pellavoxTellProblemsTo`. Must not run while one of the 44 functions
/// does; `tell` runs on the thread that called the library.
void tellProblemsTo(std::function<void(const std::string& line)> tell);

/// Told of each call that reached the library, on the caller's thread.
using Observer =
    std::function<void(const device::OperationDescription&, std::int32_t result, std::chrono::nanoseconds duration)>;

/// Sets the only observer; empty = none. Must not run while one of the 44
/// functions does.
void observe(Observer observer);

}  // namespace gate
