#pragma once

#include "recorder/audit.h"
#include "recorder/call_image.h"
#include "recorder/progress_slots.h"
#include "recorder/raw_call.h"
#include "recorder/recording_file.h"
#include "recorder/redaction.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace recorder {

/// Forwards calls to a device library and writes them into a recording. Any
/// thread may call.
class Recorder final : private ProgressListener {
 public:
  struct Options {
    FunctionTable functions{};  ///< of the device library
    std::filesystem::path file;
    RecordingFile::Limits limits = {};
    RecordingFile::WhenTaken whenTaken = RecordingFile::WhenTaken::kFail;
    std::filesystem::path auditFile = {};  ///< empty = no audit
    Header header = {};                    ///< an empty salt is replaced by a random one
    std::function<void(const std::string&)> tell = [](const std::string&) {};
  };

  explicit Recorder(Options options);
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  /// Forwards one call. The library's own calls of its functions, made while
  /// this runs, are forwarded and not recorded.
  std::int32_t call(device::Operation operation, std::span<const RawArgument> arguments, Invoke invoke);

  /// Writes the recording's last line. Later calls are forwarded only. Does
  /// without it when another thread was stopped in the middle of writing.
  void finish();

 private:
  struct Scratch {
    CallImage image;
    OutputWatch watch;
    std::string line;
  };
  using Clock = std::chrono::steady_clock;

  std::unique_ptr<Scratch> takeScratch();
  void giveBack(std::unique_ptr<Scratch> scratch);
  CallPlace placeHere();
  std::int32_t forward(Scratch& scratch, std::span<const RawArgument> arguments, Invoke invoke, const CallPlace& place,
                       std::int64_t& took);
  void progressed(std::uint64_t call, float percent) override;

  Options options_;
  std::string salt_;  // as bytes
  std::optional<Redaction> redaction_;
  std::optional<Audit> audit_;
  Clock::time_point start_ = Clock::now();
  std::uint64_t id_;  // tells this from other recorders in thread-local data
  std::atomic<std::uint64_t> begun_ = 0;
  std::atomic<std::uint64_t> ended_ = 0;
  std::atomic<unsigned> threads_ = 0;
  std::timed_mutex mutex_;  // guards everything below
  std::optional<RecordingFile> file_;
  std::vector<std::unique_ptr<Scratch>> spare_;
};

/// The time now, as "2026-01-31T12:34:56Z".
std::string utcNow();

}  // namespace recorder
