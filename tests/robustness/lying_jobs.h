#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Jobs that are done through the window with a device that lies, and what came
/// of them.
namespace lying {

enum class Outcome {
  kHonestSuccess,      ///< success shown, the device holds what was asked
  kHonestFailure,      ///< no success shown, the device does not hold it
  kFailureThoughDone,  ///< no success shown, yet the device holds it
  kFalseSuccess,       ///< success shown, the device does not hold it, and the program could not know
  kHang,               ///< it took longer, on the device's clock or in calls, than the job ever may
  kBreach,             ///< the program could have known, or did something else than its rules say
};

/// With which the process ends in the midst of a job that would not end.
constexpr int kHangExitCode = 77;

struct Verdict {
  Outcome outcome;
  std::string reason;  ///< of a false success or a breach
};

/// The program's window and a simulated device. One in a process, and only while
/// there is an application object.
class LyingJobs {
 public:
  LyingJobs();
  LyingJobs(const LyingJobs&) = delete;
  LyingJobs& operator=(const LyingJobs&) = delete;
  ~LyingJobs();

  static std::vector<std::string> jobNames();

  /// Does a job with a new device, whose lies the three numbers decide.
  Verdict run(std::size_t job, std::uint32_t seed, std::uint32_t number);

 private:
  class JobWindow;
  struct Job;
  static const std::vector<Job>& jobs();

  std::unique_ptr<JobWindow> window_;
  std::unique_ptr<JobWindow> readWindow_;
};

}  // namespace lying
