/// @file
/// How long programs take from their start to the first pixels in their window, and what
/// they need at rest: whole processes, alternating, on the X server named in DISPLAY.
/// Prints medians, and ratios to the first program.
/// Usage: first_paint ROUNDS IDLE_SECONDS PROGRAM...; 0 seconds to leave out the rest
#include "bench/pairs.h"
#include "bench/wake_ups.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <poll.h>
#include <set>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <xcb/damage.h>
#include <xcb/xcb.h>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
using Event = std::unique_ptr<xcb_generic_event_t, Free>;

struct Figures {
  std::vector<double> paintMs;
  std::vector<double> pssKiB;
};

[[noreturn]] void fail(const std::string& why) {
  std::fprintf(stderr, "first_paint: %s\n", why.c_str());
  std::exit(1);
}

/// Observes other programs' windows on the X server.
class Display {
 public:
  Display() : connection_(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(connection_) != 0) {
      fail("there is no X server");
    }
    const xcb_query_extension_reply_t* const damage = xcb_get_extension_data(connection_, &xcb_damage_id);
    if (damage == nullptr || damage->present == 0) {
      fail("the X server does not tell of changed pixels");
    }
    damageEvent_ = static_cast<std::uint8_t>(damage->first_event + XCB_DAMAGE_NOTIFY);
    xcb_damage_query_version(connection_, 1, 1);
    const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_, xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root,
                                 XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection_);
  }
  Display(const Display&) = delete;
  Display& operator=(const Display&) = delete;
  ~Display() { xcb_disconnect(connection_); }

  /// Waits for the first pixels of a window of normal size; false after 30 s.
  bool waitForPaint() {
    std::set<xcb_window_t> mapped;
    const Clock::time_point end = Clock::now() + 30s;
    while (Clock::now() < end) {
      const Event event(xcb_poll_for_event(connection_));
      if (event == nullptr) {
        pollfd readable{xcb_get_file_descriptor(connection_), POLLIN, 0};
        poll(&readable, 1, 100);
        continue;
      }
      const std::uint8_t type = event->response_type & 0x7F;
      if (type == XCB_CREATE_NOTIFY) {
        watch(reinterpret_cast<const xcb_create_notify_event_t&>(*event));
      } else if (type == XCB_MAP_NOTIFY) {
        mapped.insert(reinterpret_cast<const xcb_map_notify_event_t&>(*event).window);
      } else if (type == damageEvent_) {
        const auto& damage = reinterpret_cast<const xcb_damage_notify_event_t&>(*event);
        if (mapped.contains(damage.drawable) && damage.geometry.width >= 200) {
          return true;
        }
      }
    }
    return false;
  }

  void forgetEvents() {
    while (Event(xcb_poll_for_event(connection_)) != nullptr) {
    }
  }

 private:
  // Watches from the window's creation on, as earlier painting would not be reported.
  void watch(const xcb_create_notify_event_t& created) {
    xcb_damage_create(connection_, xcb_generate_id(connection_), created.window,
                      XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
    xcb_flush(connection_);
  }

  xcb_connection_t* connection_;
  std::uint8_t damageEvent_ = 0;
};

pid_t start(const std::string& program) {
  const pid_t pid = fork();
  if (pid == 0) {
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    execlp(program.c_str(), program.c_str(), nullptr);
    _exit(127);
  }
  return pid;
}

void stop(pid_t pid) {
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
}

void measure(Display& display, const std::string& program, Figures& figures) {
  display.forgetEvents();
  const Clock::time_point begin = Clock::now();
  const pid_t pid = start(program);
  if (!display.waitForPaint()) {
    stop(pid);
    fail(program + " shows no window");
  }
  figures.paintMs.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
  std::this_thread::sleep_for(500ms);  // at rest
  const auto pss = procNumber("/proc/" + std::to_string(pid) + "/smaps_rollup", "Pss");
  figures.pssKiB.push_back(static_cast<double>(pss));
  stop(pid);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    fail("usage: first_paint ROUNDS IDLE_SECONDS PROGRAM...");
  }
  const std::vector<std::string> programs(argv + 3, argv + argc);
  std::vector<Figures> figures(programs.size());
  Display display;
  for (const std::string& program : programs) {
    Figures warmUp;
    measure(display, program, warmUp);
  }
  for (int round = 0; round < std::atoi(argv[1]); ++round) {
    for (std::size_t i = 0; i < programs.size(); ++i) {
      // Each goes first equally often.
      const std::size_t turn = (i + static_cast<std::size_t>(round)) % programs.size();
      measure(display, programs[turn], figures[turn]);
    }
  }
  for (std::size_t i = 0; i < programs.size(); ++i) {
    const double paint = median(figures[i].paintMs);
    const double pss = median(figures[i].pssKiB);
    std::printf("%-18s first pixels after %7.1f ms, ratio %.2f; at rest %7.0f KiB (PSS), ratio %.2f\n",
                std::filesystem::path(programs[i]).filename().c_str(), paint, paint / median(figures[0].paintMs), pss,
                pss / median(figures[0].pssKiB));
  }
  const int seconds = std::atoi(argv[2]);
  for (const std::string& program : seconds > 0 ? programs : std::vector<std::string>()) {
    const pid_t pid = start(program);
    display.forgetEvents();
    std::this_thread::sleep_for(2s);
    const long before = wakeUps(pid);
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    std::printf("%-18s %ld wake-ups in %d s at rest\n", std::filesystem::path(program).filename().c_str(),
                wakeUps(pid) - before, seconds);
    stop(pid);
  }
  return 0;
}
