#include "recorder/recording_file.h"
#include "recorder/redaction.h"
#include "recorder/summary.h"

#include <map>
#include <optional>
#include <system_error>

namespace recorder {
namespace {

/// Writes what it is shown, redacted.
class RedactingWriter {
 public:
  explicit RedactingWriter(std::filesystem::path to) : to_(std::move(to)) {}

  void write(LinePlace place, Line&& line) {
    if (auto* header = std::get_if<Header>(&line)) {
      if (place.part == 1) {
        begin(std::move(*header));
      }
    } else if (auto* call = std::get_if<CallLine>(&line)) {
      redaction_->redactInputs(call->image);
      redaction_->redactOutputs(call->image);
      writeCall(text_, call->place, call->image, call->took);
      file_->write(text_);
    } else if (auto* begun = std::get_if<BeginLine>(&line)) {
      redaction_->redactInputs(begun->image);
      writeBegin(text_, begun->place, begun->image);
      file_->write(text_);
    } else if (auto* end = std::get_if<EndLine>(&line)) {
      writeEnd(text_, end->number, end->image, end->took);
      file_->write(text_);
    } else if (auto* progress = std::get_if<ProgressLine>(&line)) {
      writeProgress(text_, progress->place, progress->percent);
      file_->write(text_);
    } else if (std::get<FooterLine>(line).last) {
      file_->finish();
    }
  }

  bool hasBegun() const { return file_.has_value(); }
  bool wasRedacted() const { return wasRedacted_; }
  const std::string& failure() const { return failure_; }

 private:
  void begin(Header header) {
    wasRedacted_ = header.redacted;
    header.redacted = true;
    const Bytes salt = bytesOfHex(header.salt).value_or(Bytes());
    redaction_.emplace(std::string(salt.begin(), salt.end()));
    file_.emplace(to_, header, RecordingFile::Limits(), [this](const std::string& text) { failure_ = text; });
  }

  std::filesystem::path to_;
  std::optional<RecordingFile> file_;
  std::optional<Redaction> redaction_;
  std::string text_;
  std::string failure_;
  bool wasRedacted_ = false;
};

}  // namespace

tl::expected<void, RecordingError> redactRecording(const std::filesystem::path& from, const std::filesystem::path& to) {
  std::optional<RedactingWriter> writer(to);
  const auto walk = walkRecording(from, [&](LinePlace place, Line&& line) { writer->write(place, std::move(line)); });
  std::string reason = writer->failure();
  if (walk && reason.empty() && writer->wasRedacted()) {
    reason = "the recording is redacted already";
  }
  if (walk && reason.empty()) {
    return {};
  }
  // What exists already belongs to somebody else.
  const bool isOurs = writer->hasBegun() && writer->failure().rfind("cannot create", 0) != 0;
  writer.reset();
  if (isOurs) {
    std::error_code ignored;
    for (unsigned part = 1; std::filesystem::remove(partOf(to, part), ignored); ++part) {
    }
  }
  return tl::unexpected(walk ? RecordingError{utf8Of(from), 0, reason} : walk.error());
}

}  // namespace recorder
