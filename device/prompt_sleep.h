#pragma once

namespace device {

/// While this lives, the calling thread's sleeps end as soon as the system can end
/// them. By default Linux lets each end up to 50 microseconds later, to gather
/// wake-ups; over an upgrade's hundreds of pauses that adds up. Elsewhere it changes
/// nothing. To be destroyed on the thread that made it.
class PromptSleep {
 public:
  PromptSleep();
  PromptSleep(const PromptSleep&) = delete;
  PromptSleep& operator=(const PromptSleep&) = delete;
  ~PromptSleep();

 private:
  [[maybe_unused]] int slackBefore_ = 0;  // nanoseconds
};

}  // namespace device
