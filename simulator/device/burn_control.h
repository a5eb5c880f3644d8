#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>
#include <vector>

namespace simulator {

/// Lets a test hold burns after a number of progress reports, or replace the
/// reports. Any thread.
class BurnControl {
 public:
  void hold(unsigned reports);
  void release();
  unsigned held() const;
  void replaceReports(std::vector<float> percents);
  /// What a burn reports in place of its own progress; nothing = its own.
  std::optional<std::vector<float>> replacedReports() const;

  /// To be called after each report of a burn. Waits while the burn is to be held.
  void reported(unsigned reports);

  /// Holds no burn, replaces no reports.
  void reset();

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<unsigned> holdAfter_;
  unsigned held_ = 0;
  std::optional<std::vector<float>> percents_;
};

}  // namespace simulator
