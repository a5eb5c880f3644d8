#include "app/high_dpi.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#if defined(Q_OS_LINUX)
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

constexpr int kPlainDpi = 96;

#if defined(Q_OS_LINUX)
bool isRoundingWanted() {
  for (const char* variable : {"QT_FONT_DPI", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS"}) {
    if (!qEnvironmentVariableIsEmpty(variable)) {
      return false;
    }
  }
  // Only X11 has screens of any resolution.
  const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
  return !qEnvironmentVariableIsEmpty("DISPLAY") && (platform.isEmpty() || platform.startsWith("xcb"));
}

// Ends the child process without any output.
[[noreturn]] void tellScreenDpi(int out, int argc, char* argv[]) {
  // What goes wrong here goes wrong in the program, too, which tells of it.
  constexpr rlimit kNoCore{0, 0};
  setrlimit(RLIMIT_CORE, &kNoCore);
  const int nowhere = open("/dev/null", O_RDWR);
  dup2(nowhere, STDERR_FILENO);
  const QGuiApplication application(argc, argv);
  const QScreen* const screen = QGuiApplication::primaryScreen();
  const double dpi = screen != nullptr ? screen->logicalDotsPerInch() : 0;
  _exit(write(out, &dpi, sizeof dpi) == sizeof dpi ? 0 : 1);
}

// Asked in a process of its own: Qt takes in the resolution once, and its
// environment variables before that.
std::optional<double> screenDpi(int argc, char* argv[]) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    return std::nullopt;
  }
  const pid_t child = fork();
  if (child == 0) {
    tellScreenDpi(ends[1], argc, argv);
  }
  close(ends[1]);
  double dpi = 0;
  const bool isTold = child > 0 && read(ends[0], &dpi, sizeof dpi) == sizeof dpi && dpi > 0;
  close(ends[0]);
  if (child > 0) {
    waitpid(child, nullptr, 0);
  }
  return isTold ? std::optional(dpi) : std::nullopt;
}
#endif

}  // namespace

int roundedDpi(double dpi) {
  const double quarters = std::round(dpi / kPlainDpi * 4);
  return static_cast<int>(std::max(quarters, 4.0) * kPlainDpi / 4);
}

void enableHighDpi([[maybe_unused]] int argc, [[maybe_unused]] char* argv[]) {
#if defined(Q_OS_LINUX)
  if (isRoundingWanted()) {
    if (const auto dpi = screenDpi(argc, argv)) {
      qputenv("QT_FONT_DPI", QByteArray::number(roundedDpi(*dpi)));
    }
  }
#endif
  QGuiApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
  QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
}
