#include "recorder/recording_file.h"
#include "recorder/redaction.h"
#include "recorder/summary.h"

#include <map>
#include <optional>
#include <utility>

namespace recorder {
namespace {

/// Writes what it is shown, redacted.
class RedactingWriter {
 public:
  RedactingWriter(std::filesystem::path to, std::uint64_t partSize) : to_(std::move(to)), partSize_(partSize) {}

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

  /// Removes what was written.
  void discard() {
    if (file_) {
      file_->discard();
    }
  }
  bool wasRedacted() const { return wasRedacted_; }
  const std::string& failure() const { return failure_; }

 private:
  void begin(Header header) {
    wasRedacted_ = header.redacted;
    header.redacted = true;
    const Bytes salt = bytesOfHex(header.salt).value_or(Bytes());
    redaction_.emplace(std::string(salt.begin(), salt.end()));
    // No part of it may be removed to save space: the copy is the whole recording.
    file_.emplace(to_, header, RecordingFile::Limits{partSize_, 0},
                  [this](const std::string& text) { failure_ = text; });
  }

  std::filesystem::path to_;
  std::uint64_t partSize_;
  std::optional<RecordingFile> file_;
  std::optional<Redaction> redaction_;
  std::string text_;
  std::string failure_;
  bool wasRedacted_ = false;
};

}  // namespace

tl::expected<void, RecordingError> redactRecording(const std::filesystem::path& from, const std::filesystem::path& to,
                                                   std::uint64_t partSize) {
  RedactingWriter writer(to, partSize);
  const auto walk = walkRecording(from, [&](LinePlace place, Line&& line) { writer.write(place, std::move(line)); });
  std::string reason = writer.failure();
  if (walk && reason.empty() && writer.wasRedacted()) {
    reason = "the recording is redacted already";
  }
  if (walk && reason.empty()) {
    return {};
  }
  writer.discard();
  return tl::unexpected(walk ? RecordingError{utf8Of(from), 0, reason} : walk.error());
}

}  // namespace recorder
