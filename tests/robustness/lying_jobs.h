#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Jobs done in the window with a lying device, and their outcomes.
namespace lying {

enum class Outcome {
  kHonestSuccess,      ///< success shown, and the device holds what was requested
  kHonestFailure,      ///< no success shown, the device does not hold it
  kFailureThoughDone,  ///< no success shown, yet the device holds it
  kFalseSuccess,       ///< success shown, the device does not hold it, but the program could not know
  kHang,               ///< took more device time or more calls than the job ever may
  kBreach,             ///< the program could have known, or broke its own rules
};

/// Exit code of a process whose job would not end.
constexpr int kHangExitCode = 77;

struct Verdict {
  Outcome outcome;
  std::string reason;  ///< of a false success or a breach
};

/// The program's windows and the simulated device. One per process, and only while
/// there is an application object.
class LyingJobs {
 public:
  LyingJobs();
  LyingJobs(const LyingJobs&) = delete;
  LyingJobs& operator=(const LyingJobs&) = delete;
  ~LyingJobs();

  static std::vector<std::string> jobNames();

  /// Runs a job with a new device. The three numbers determine its faults.
  Verdict run(std::size_t job, std::uint32_t seed, std::uint32_t number);

 private:
  class JobWindow;
  struct Job;
  static const std::vector<Job>& jobs();

  std::unique_ptr<JobWindow> window_;
  std::unique_ptr<JobWindow> readWindow_;
};

}  // namespace lying
