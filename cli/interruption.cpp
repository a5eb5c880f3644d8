#include "cli/interruption.h"

#include <algorithm>
#include <atomic>

#ifdef _WIN32
#include <windows.h>
#else
#include <csignal>
#include <ctime>
#include <initializer_list>
#include <semaphore.h>
#endif

namespace cli::interruption {
namespace {

std::atomic<bool> noted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

// What lets `waitForRequest` end: signalled after each note.
#ifdef _WIN32
HANDLE bell() {
  static const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  return event;
}

void ring() { SetEvent(bell()); }

void waitForBell(std::chrono::nanoseconds atMost) {
  const auto time = std::chrono::ceil<std::chrono::milliseconds>(atMost).count();
  WaitForSingleObject(bell(), static_cast<DWORD>(std::min<long long>(time, INFINITE - 1)));
}

BOOL WINAPI note(DWORD) {
  request();
  return TRUE;
}
#else
sem_t* bell() {
  static sem_t* const semaphore = [] {
    static sem_t theOne;
    sem_init(&theOne, 0, 0);
    return &theOne;
  }();
  return semaphore;
}

void ring() { sem_post(bell()); }

void waitForBell(std::chrono::nanoseconds atMost) {
  timespec end{};
  clock_gettime(CLOCK_MONOTONIC, &end);
  const std::chrono::nanoseconds at = std::chrono::nanoseconds(end.tv_nsec) + atMost;
  end.tv_sec += static_cast<std::time_t>(std::chrono::floor<std::chrono::seconds>(at).count());
  end.tv_nsec = static_cast<long>((at % std::chrono::seconds(1)).count());
  // A signal ends the wait as well.
  static_cast<void>(sem_clockwait(bell(), CLOCK_MONOTONIC, &end));
}

void note(int) { request(); }
#endif

}  // namespace

void watch() {
  bell();  // made here, not in a signal's handler
#ifdef _WIN32
  SetConsoleCtrlHandler(&note, TRUE);
#else
  struct sigaction action = {};
  action.sa_handler = &note;
  // Not SA_RESTART: a question at the terminal ends at once.
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction inherited = {};
    sigaction(signal, nullptr, &inherited);
    // nohup, or a shell that starts a background job, had it ignored.
    if (inherited.sa_handler != SIG_IGN) {
      sigaction(signal, &action, nullptr);
    }
  }
#endif
}

bool isRequested() { return noted; }

void waitForRequest(std::chrono::nanoseconds atMost) {
  const auto end = std::chrono::steady_clock::now() + atMost;
  // The bell may have been rung for a note that was taken back.
  for (auto left = atMost; !noted && left > left.zero(); left = end - std::chrono::steady_clock::now()) {
    waitForBell(left);
  }
}

void request(bool requested) {
  noted = requested;
  if (requested) {
    ring();
  }
}

}  // namespace cli::interruption
