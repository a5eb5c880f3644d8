#pragma once

#include "recorder/line_text.h"
#include "recorder/part_names.h"

#include <tl/expected.hpp>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <istream>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// Reads recordings. Bad file content is refused and does no other harm.
namespace recorder {

/// Why a recording cannot be used.
struct RecordingError {
  std::string file;
  std::size_t line = 0;  ///< from 1; 0 = the file as a whole
  std::string reason;    ///< one printable line

  /// "FILE:LINE: reason"
  std::string text() const;
};

/// A position in a recording.
struct LinePlace {
  unsigned part = 1;
  std::size_t line = 0;
};

struct CallLine {
  CallPlace place;
  CallImage image;
  std::int64_t took = 0;
};
struct BeginLine {
  CallPlace place;
  CallImage image;
};
/// Its image's inputs are those of the line that began the call.
struct EndLine {
  std::uint64_t number = 0;
  CallImage image;
  std::int64_t took = 0;
};
struct ProgressLine {
  CallPlace place;
  float percent = 0;
};
struct FooterLine {
  bool last = false;
};
using Line = std::variant<Header, CallLine, BeginLine, EndLine, ProgressLine, FooterLine>;

/// What was found by going through a recording.
struct Walk {
  unsigned firstPart = 1;  ///< higher when those before it were removed
  unsigned parts = 0;
  std::uint64_t lines = 0;
  std::uint64_t ended = 0;              ///< calls that ended
  std::vector<std::uint64_t> underWay;  ///< changing calls that began and did not end
  bool complete = false;                ///< whether the last line is there
  bool cutOff = false;                  ///< whether half a line follows the last whole one
  std::string lastFile;
  std::size_t lastLine = 0;  ///< of that file
};

using Visit = std::function<void(LinePlace, Line&&)>;

/// A long recording keeps its newest parts only, and one whose writing stopped suddenly may
/// end in half a line. What remains can be looked at, but not replayed or redacted.
enum class Parts { kAll, kRemaining };

/// Goes through the parts of a recording line by line, in constant memory, and holds
/// each line against all before it. Where parts remain that were not the first, the
/// end of a call is left out whose beginning is gone.
tl::expected<Walk, RecordingError> walkRecording(const std::filesystem::path& file, const Visit& visit,
                                                 Parts parts = Parts::kAll);

/// The same for a recording of one part.
/// @param name what errors call it
tl::expected<Walk, RecordingError> walkRecording(std::istream& stream, const std::string& name, const Visit& visit);

/// One call, put together from its lines.
struct RecordedCall {
  CallPlace place;
  CallImage image;
  std::int64_t took = 0;
  LinePlace line;                       ///< where it begins
  LinePlace endLine;                    ///< where it ends, if it does
  std::optional<std::uint64_t> ending;  ///< it was the n-th call to end, from 1; empty: it did not
};

struct RecordedProgress {
  CallPlace place;
  float percent = 0;
  LinePlace line;
};

/// A whole recording.
struct Recording {
  std::filesystem::path file;
  Header header;
  std::vector<RecordedCall> calls;         ///< by number
  std::vector<RecordedProgress> progress;  ///< in the order in which they came
  Walk walk;

  /// "FILE:LINE"
  std::string textOf(LinePlace place) const;
};

tl::expected<Recording, RecordingError> readRecording(const std::filesystem::path& file, Parts parts = Parts::kAll);
tl::expected<Recording, RecordingError> readRecording(std::istream& stream, const std::string& name);

}  // namespace recorder
