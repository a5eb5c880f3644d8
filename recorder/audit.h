#pragma once

#include "recorder/guarded_buffers.h"
#include "recorder/line_text.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace recorder {

/// What a library does beyond its contract and how long it takes, gathered over
/// all runs with the same library. Any thread.
class Audit {
 public:
  /// @param file the report; what earlier runs have put there counts on
  Audit(std::filesystem::path file, const Header& header);

  void began(std::uint64_t call, unsigned thread, device::Operation operation);
  void ended(std::uint64_t call, std::int32_t status, std::int64_t nanoseconds, const std::vector<Overrun>& overruns);
  /// A callback of a call, on the thread of that number.
  void calledBack(std::uint64_t call, unsigned thread);

  /// Writes the report; false when that failed.
  bool write() const;

 private:
  struct Beyond {
    std::uint64_t calls = 0;
    std::uint64_t before = 0;
    std::uint64_t within = 0;
    std::uint64_t after = 0;
    std::uint64_t reach = 0;
  };
  struct Figures {
    std::uint64_t calls = 0;
    std::int64_t shortest = 0;
    std::int64_t longest = 0;
    std::map<int, std::uint64_t> durations;          // by eighths of an octave
    std::map<std::int32_t, std::uint64_t> statuses;  // how often each came
    std::map<std::int32_t, bool> knownStatuses;      // from earlier runs
    std::map<std::string, Beyond> beyond;            // by parameter
    std::uint64_t callbacksOnCaller = 0;
    std::uint64_t callbacksOnOthers = 0;
    std::uint64_t callbacksAfterwards = 0;
  };
  struct UnderWay {
    unsigned thread;
    device::Operation operation;
  };
  void read();
  static std::int64_t median(const Figures& figures);

  const std::filesystem::path file_;
  const std::string library_;
  const std::string sha256_;
  mutable std::mutex mutex_;
  std::uint64_t runs_ = 1;
  std::map<std::uint64_t, UnderWay> underWay_;
  std::array<Figures, device::kOperations.size()> figures_;
};

/// The report's file for a library, in a folder: one per version of it.
std::filesystem::path auditFileIn(const std::filesystem::path& folder, const Header& header);

}  // namespace recorder
