#pragma once

#include "recorder/recording.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace recorder {

/// Why a line is none of a recording's.
struct LineError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Which part of a recording a header belongs to.
struct PartMark {
  std::int64_t part = 1;
  std::string follows;     ///< chain value of the last line of the part before
  std::int64_t keeps = 0;  ///< how many parts the recorder keeps; 0 = all
};

/// Reads a line without its chain value.
/// @param part receives what only a header tells
/// @throws LineError
Line readLine(std::string_view text, PartMark& part);

}  // namespace recorder
