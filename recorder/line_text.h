#pragma once

#include "recorder/call_image.h"

#include <cstdint>
#include <string>
#include <string_view>

/// The lines of a recording as text, each without its closing brace: the file
/// adds the chain value. docs/recording.md describes them.
namespace recorder {

/// Which call it is, where it came from and when.
struct CallPlace {
  std::uint64_t number = 0;  ///< from 1, in the order in which calls began
  unsigned thread = 0;       ///< from 1, in the order of their first calls
  std::uint64_t after = 0;   ///< how many calls had ended when this one began
  std::int64_t at = 0;       ///< nanoseconds since the recording began
};

/// What a recording says about itself.
struct Header {
  std::string library;        ///< file name of the device library
  std::string librarySha256;  ///< of its content, hexadecimal; empty when it cannot be read
  bool simulated = false;     ///< whether it is the simulated device
  std::string recorder;       ///< version of the program that wrote it
  std::string utc;            ///< when it began, ISO 8601
  std::string salt;           ///< hexadecimal; hashed before keys and whatever is redacted
  bool redacted = false;
};

void writeHeader(std::string& line, const Header& header);
/// A call that has ended, in one line.
void writeCall(std::string& line, const CallPlace& place, const CallImage& image, std::int64_t took);
/// The beginning of a changing call.
void writeBegin(std::string& line, const CallPlace& place, const CallImage& image);
/// The end of a changing call.
void writeEnd(std::string& line, std::uint64_t number, const CallImage& image, std::int64_t took);
/// A progress callback.
/// @param place of the callback; its number is that of the call it belongs to
void writeProgress(std::string& line, const CallPlace& place, float percent);

/// "12.5", "nan", "-inf": as many digits as tell every value apart.
std::string percentText(float percent);

}  // namespace recorder
