#include "cli/interruption.h"

#include <atomic>

#ifdef _WIN32
#include <windows.h>
#else
#include <csignal>
#include <initializer_list>
#endif

namespace cli::interruption {
namespace {

std::atomic<bool> noted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

#ifdef _WIN32
BOOL WINAPI note(DWORD) {
  noted = true;
  return TRUE;
}
#else
void note(int) { noted = true; }
#endif

}  // namespace

void watch() {
#ifdef _WIN32
  SetConsoleCtrlHandler(&note, TRUE);
#else
  struct sigaction action = {};
  action.sa_handler = &note;
  // Not SA_RESTART: a question at the terminal ends at once.
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    sigaction(signal, &action, nullptr);
  }
#endif
}

bool isRequested() { return noted; }

void request(bool requested) { noted = requested; }

}  // namespace cli::interruption
