// A device library that is hard on its host: every call runs the caller's event loop
// before it returns, and a burn keeps calling back from its own threads after it has
// returned, until the process ends.
#include "device/RTICE_SDK_x64.h"

#include <QCoreApplication>
#include <QThread>

#include <atomic>
#include <chrono>
#include <limits>
#include <thread>
#include <vector>

namespace {

constexpr float kReported = 42;

class Callers {
 public:
  Callers() = default;
  Callers(const Callers&) = delete;
  Callers& operator=(const Callers&) = delete;
  ~Callers() {
    ends_ = true;
    for (std::thread& thread : threads_) {
      thread.join();
    }
  }

  void add(RTICE_ProgressCallback progress) {
    threads_.emplace_back([this, progress] {
      while (!ends_) {
        progress(kReported);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    });
  }

 private:
  std::atomic<bool> ends_{false};
  std::vector<std::thread> threads_;
};

void runEventLoop() {
  static thread_local int depth = 0;
  // Without a limit, a button pressed in every call would recurse for ever.
  if (depth < 5 && QCoreApplication::instance() != nullptr) {
    ++depth;
    QCoreApplication::processEvents();
    --depth;
  }
}

template <typename... Arguments>
int32_t act(Arguments...) {
  return 0;
}

int32_t act(const char* /*path*/, RTICE_ProgressCallback progress) {
  static Callers callers;
  for (int i = 0; i < 3; ++i) {
    callers.add(progress);
  }
  return 0;
}

}  // namespace

#define OPERATION(name, kind, result, declaration, arguments, ...) \
  int32_t name declaration {                                       \
    runEventLoop();                                                \
    return act arguments;                                          \
  }

extern "C" {
#include "device/operations.inc"
}
