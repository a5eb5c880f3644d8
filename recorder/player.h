#pragma once

#include "recorder/raw_call.h"
#include "recorder/recording.h"
#include "recorder/redaction.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace recorder {

/// Answers calls from a recording and compares them with it: each thread makes
/// the calls that a recorded thread made, in their order and with the same
/// inputs; no call is answered before those that had ended when the recorded
/// one began. From the first difference on every call fails. Any thread may
/// call.
class Player {
 public:
  /// What calls return from the first difference on.
  static constexpr std::int32_t kDifferent = -2'000'000'003;

  struct Options {
    bool atRecordedSpeed = false;
    /// How long a call waits for those of other threads that come before it.
    std::chrono::milliseconds patience{10'000};
    /// Told once, at the first difference or at the end: several lines, of which
    /// the first begins with "difference" or "complete".
    std::function<void(const std::string&)> report = [](const std::string&) {};
  };

  Player(Recording recording, Options options);
  ~Player();
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  std::int32_t call(device::Operation operation, std::span<const RawArgument> arguments);

  /// Reports what is left over, or that everything has been replayed.
  void finish();

 private:
  using Clock = std::chrono::steady_clock;
  using Lock = std::unique_lock<std::mutex>;

  /// A thread of the recording.
  struct Thread {
    std::vector<std::size_t> calls;  ///< indices into the recording's
    std::size_t next = 0;
    bool isTaken = false;  ///< by a thread of this process
    bool hasMore() const { return next < calls.size(); }
  };
  /// Callbacks of one call.
  struct Callbacks {
    std::vector<std::size_t> during;  ///< indices into the recording's
    std::vector<std::size_t> late;
  };

  CallImage imageOf(device::Operation operation, std::span<const RawArgument> arguments);
  Thread* threadFor(const CallImage& image);
  const RecordedCall* claim(const CallImage& image);
  bool waitFor(Lock& lock, std::uint64_t ended, LinePlace line, const std::string& what);
  std::int32_t answer(const RecordedCall& call, std::span<const RawArgument> arguments);
  void callBack(const RecordedProgress& progress, RTICE_ProgressCallback callback, unsigned callingThread);
  void callBackLate(const RecordedCall& call, RTICE_ProgressCallback callback);
  std::int32_t neverReturn(Lock& lock, const RecordedCall& call);
  void putOutputs(const RecordedCall& call, std::span<const RawArgument> arguments);
  void ended(const RecordedCall& call);
  void keepPace(Clock::time_point start, std::int64_t nanoseconds) const;
  void differ(LinePlace line, const std::string& expected, const std::string& got, const std::string& detail);
  void reportOnce(const std::string& text);

  const Recording recording_;
  const Options options_;
  std::string salt_;  // as bytes
  std::optional<Redaction> redaction_;
  std::map<std::uint64_t, Callbacks> callbacks_;  // by call number
  std::uint64_t id_;                              // tells this from other players in thread-local data

  std::mutex mutex_;  // guards everything below
  std::condition_variable changed_;
  std::map<unsigned, Thread> threads_;
  std::set<std::uint64_t> endedOutOfOrder_;
  std::uint64_t ended_ = 0;                  // so many calls have ended, in the recorded order
  std::map<std::string, Bytes> pseudonyms_;  // by serial number
  std::deque<const RecordedCall*> last_;
  std::vector<std::thread> lateThreads_;
  bool isDifferent_ = false;
  bool isFinished_ = false;
  bool hasReported_ = false;
};

}  // namespace recorder
