#include "recorder/recording.h"

#include "recorder/line_reader.h"
#include "recorder/recording_file.h"
#include "recorder/sha256.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <set>
#include <system_error>

namespace recorder {
namespace {

// Two buffers of the largest size in hexadecimal digits, and some room.
constexpr std::size_t kMaxLine = 4 * kMaxBufferSize + 4096;

/// Goes through the parts of one recording.
class Walker {
 public:
  explicit Walker(const Visit& visit, unsigned firstPart = 1, Parts parts = Parts::kAll)
      : visit_(visit), parts_(parts) {
    walk_.firstPart = firstPart;
  }

  void walkPart(std::istream& stream, unsigned part) {
    place_ = {part, 0};
    std::string text(kMaxLine, '\0');
    const std::string before = chain_.text();
    chain_ = Chain();
    hash_ = Sha256();
    ended_ = false;
    while (stream.getline(text.data(), static_cast<std::streamsize>(text.size())) || stream.gcount() > 0) {
      ++place_.line;
      const auto count = static_cast<std::size_t>(stream.gcount());
      if (stream.eof() && parts_ == Parts::kRemaining && !ended_ && (place_.line > 1 || part > walk_.firstPart)) {
        walk_.cutOff = true;
        --place_.line;
        return;
      }
      if (stream.eof() || stream.fail()) {
        throw LineError(stream.eof() ? "the recording is cut off in this line" : "the line is longer than any can be");
      }
      readWhole(std::string_view(text).substr(0, count - 1), before);
    }
    if (place_.line == 0) {
      ++place_.line;
      throw LineError("the file is empty");
    }
  }

  /// Whether another part must follow.
  bool continues() const { return ended_ && !walk_.complete; }
  LinePlace place() const { return place_; }
  /// Whether the recorder would have kept a part before the first one that is there.
  /// @param last the highest part that is there
  bool lacksParts(unsigned last) const {
    return lacksItsBeginning() && (keeps_ == 0 || last - walk_.firstPart + 1 < keeps_);
  }

  Walk result() {
    walk_.parts = place_.part;
    walk_.lastLine = place_.line;
    walk_.underWay.assign(underWay_.begin(), underWay_.end());
    return walk_;
  }

 private:
  void readWhole(std::string_view line, const std::string& before) {
    if (ended_) {
      throw LineError("there is something after the recording's last line");
    }
    const std::size_t tail = Chain::kOpening.size() + Chain::kDigits + Chain::kClosing.size();
    if (line.size() < tail || line.substr(line.size() - tail, Chain::kOpening.size()) != Chain::kOpening) {
      throw LineError("this is no line of a recording");
    }
    const std::string_view text = line.substr(0, line.size() - tail);
    chain_.add(text);
    std::string sealed = std::string(Chain::kOpening) + chain_.text() + std::string(Chain::kClosing);
    if (line.substr(text.size()) != sealed) {
      throw LineError("the line does not fit those before it: it was changed, or lines are missing or out of order");
    }
    PartMark part;
    Line read = readLine(std::string(text) + "}", part);
    const bool isWhole = check(read, part, before, text);
    hash_.add(line);
    hash_.add("\n");
    ++walk_.lines;
    if (isWhole) {
      visit_(place_, std::move(read));
    }
  }

  bool lacksItsBeginning() const { return walk_.firstPart > 1; }

  /// @return false for the end of a call whose beginning is gone
  bool check(const Line& line, const PartMark& part, const std::string& before, std::string_view text) {
    if (std::holds_alternative<Header>(line) != (place_.line == 1)) {
      throw LineError(place_.line == 1 ? "the recording does not begin with its header" : "there is a second header");
    }
    if (std::holds_alternative<Header>(line) &&
        (part.part != place_.part || (place_.part > walk_.firstPart && part.follows != before))) {
      throw LineError(place_.part == 1 ? "this is not the first part of a recording"
                                       : "this part does not follow the one before it");
    }
    if (std::holds_alternative<Header>(line)) {
      keeps_ = part.keeps;
    } else if (const auto* call = std::get_if<CallLine>(&line)) {
      checkPlace(call->place);
      ++walk_.ended;
    } else if (const auto* begin = std::get_if<BeginLine>(&line)) {
      checkPlace(begin->place);
      if (!underWay_.insert(begin->place.number).second) {
        throw LineError("the call has begun before");
      }
    } else if (const auto* end = std::get_if<EndLine>(&line)) {
      const bool isKnown = underWay_.erase(end->number) != 0;
      if (!isKnown && !lacksItsBeginning()) {
        throw LineError("a call ends that is not under way");
      }
      ++walk_.ended;
      return isKnown;
    } else if (const auto* progress = std::get_if<ProgressLine>(&line)) {
      checkPlace(progress->place);
    } else if (const auto* footer = std::get_if<FooterLine>(&line)) {
      checkFooter(*footer, text);
    }
    return true;
  }

  void checkPlace(const CallPlace& place) const {
    if (place.after > walk_.ended && !lacksItsBeginning()) {
      throw LineError("it comes after more calls than have ended");
    }
  }

  void checkFooter(const FooterLine& footer, std::string_view text) {
    if (text.find("\"sha256\":\"" + hash_.hex() + "\"") == std::string_view::npos) {
      throw LineError("the hash of the recording is not that of the lines before");
    }
    ended_ = true;
    walk_.complete = footer.last;
  }

  const Visit& visit_;
  Parts parts_;
  LinePlace place_;
  std::int64_t keeps_ = 0;
  Chain chain_;
  Sha256 hash_;
  Walk walk_;
  std::set<std::uint64_t> underWay_;
  bool ended_ = false;
};

tl::unexpected<RecordingError> failure(const std::string& file, std::size_t line, const std::string& reason) {
  return tl::unexpected(RecordingError{file, line, reason});
}

/// Puts calls together from their lines.
class Collector {
 public:
  explicit Collector(Recording& recording) : recording_(recording) {}

  void add(LinePlace place, Line&& line) {
    if (auto* header = std::get_if<Header>(&line)) {
      if (!hasHeader_) {
        recording_.header = std::move(*header);
        hasHeader_ = true;
      }
    } else if (auto* call = std::get_if<CallLine>(&line)) {
      recording_.calls.push_back({call->place, std::move(call->image), call->took, place, place, ++ended_});
    } else if (auto* begin = std::get_if<BeginLine>(&line)) {
      underWay_[begin->place.number] = recording_.calls.size();
      recording_.calls.push_back({begin->place, std::move(begin->image), 0, place, {}, std::nullopt});
    } else if (auto* end = std::get_if<EndLine>(&line)) {
      RecordedCall& begun = recording_.calls[underWay_.at(end->number)];
      underWay_.erase(end->number);
      begun.image.result = end->image.result;
      begun.took = end->took;
      begun.endLine = place;
      begun.ending = ++ended_;
    } else if (auto* progress = std::get_if<ProgressLine>(&line)) {
      recording_.progress.push_back({progress->place, progress->percent, place});
    }
  }

  /// Sorts the calls. The place of one whose number comes twice, if any.
  std::optional<LinePlace> finish() {
    std::vector<RecordedCall>& calls = recording_.calls;
    std::stable_sort(calls.begin(), calls.end(),
                     [](const auto& a, const auto& b) { return a.place.number < b.place.number; });
    const auto twice = std::adjacent_find(
        calls.begin(), calls.end(), [](const auto& a, const auto& b) { return a.place.number == b.place.number; });
    return twice == calls.end() ? std::nullopt : std::optional((twice + 1)->line);
  }

 private:
  Recording& recording_;
  std::map<std::uint64_t, std::size_t> underWay_;
  std::uint64_t ended_ = 0;
  bool hasHeader_ = false;
};

template <typename Source>
tl::expected<Recording, RecordingError> collect(Source& source, const std::filesystem::path& file) {
  Recording recording;
  recording.file = file;
  Collector collector(recording);
  const Visit add = [&](LinePlace place, Line&& line) { collector.add(place, std::move(line)); };
  tl::expected<Walk, RecordingError> walk = source(add);
  if (!walk) {
    return tl::unexpected(std::move(walk).error());
  }
  recording.walk = *std::move(walk);
  if (const std::optional<LinePlace> twice = collector.finish()) {
    return failure(utf8Of(partOf(file, twice->part)), twice->line, "a call of this number is there already");
  }
  return recording;
}

}  // namespace

std::string RecordingError::text() const {
  return line == 0 ? file + ": " + reason : file + ":" + std::to_string(line) + ": " + reason;
}

tl::expected<Walk, RecordingError> walkRecording(std::istream& stream, const std::string& name, const Visit& visit) {
  Walker walker(visit);
  try {
    walker.walkPart(stream, 1);
  } catch (const LineError& error) {
    return failure(name, walker.place().line, error.what());
  }
  Walk walk = walker.result();
  walk.lastFile = name;
  return walk;
}

tl::expected<Walk, RecordingError> walkRecording(const std::filesystem::path& file, const Visit& visit, Parts parts) {
  const unsigned first = std::max(firstPartOf(file), 1U);
  if (first > 1 && parts == Parts::kAll) {
    auto remaining = walkRecording(
        file, [](auto, auto&&) {}, Parts::kRemaining);
    if (!remaining) {
      return remaining;
    }
    return failure(utf8Of(file), 0, "the parts before " + utf8Of(partOf(file, first)) + " were removed to save space");
  }
  Walker walker(visit, first, parts);
  std::string name;
  unsigned part = first;
  for (;; ++part) {
    const std::filesystem::path path = partOf(file, part);
    std::error_code ignored;
    std::ifstream stream;
    if (std::filesystem::is_regular_file(path, ignored)) {
      if (part > first && std::filesystem::file_size(path, ignored) == 0 && !ignored) {
        break;  // the disk was full when it was begun: the recording is cut off there
      }
      name = utf8Of(path);
      stream.open(path, std::ios::binary);
    }
    if (!stream.is_open()) {
      return failure(utf8Of(path), 0, part == 1 ? "the file cannot be read" : "this part of the recording is missing");
    }
    try {
      walker.walkPart(stream, part);
    } catch (const LineError& error) {
      return failure(name, walker.place().line, error.what());
    }
    if (!walker.continues()) {
      break;
    }
  }
  if (walker.lacksParts(part)) {
    return failure(utf8Of(partOf(file, first)), 0,
                   "the part before this one is missing; it was not removed to save space");
  }
  Walk walk = walker.result();
  walk.lastFile = name;
  return walk;
}

tl::expected<Recording, RecordingError> readRecording(const std::filesystem::path& file, Parts parts) {
  const auto source = [&](const Visit& visit) { return walkRecording(file, visit, parts); };
  return collect(source, file);
}

tl::expected<Recording, RecordingError> readRecording(std::istream& stream, const std::string& name) {
  const auto source = [&](const Visit& visit) { return walkRecording(stream, name, visit); };
  return collect(source, pathOfUtf8(name));
}

std::string Recording::textOf(LinePlace place) const {
  return utf8Of(partOf(file, place.part)) + ":" + std::to_string(place.line);
}

}  // namespace recorder
