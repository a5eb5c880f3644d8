#include "device/prompt_sleep.h"

#if defined(__linux__)
#include <sys/prctl.h>
#endif

namespace device {

#if defined(__linux__)
PromptSleep::PromptSleep() : slackBefore_(prctl(PR_GET_TIMERSLACK)) {
  prctl(PR_SET_TIMERSLACK, 1UL);  // nanosecond; 0 would be the default
}

PromptSleep::~PromptSleep() {
  if (slackBefore_ > 0) {
    prctl(PR_SET_TIMERSLACK, static_cast<unsigned long>(slackBefore_));
  }
}
#else
PromptSleep::PromptSleep() = default;
PromptSleep::~PromptSleep() = default;
#endif

}  // namespace device
