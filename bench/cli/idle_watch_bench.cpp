/// @file
/// How often a watch wakes up while it has nothing to do. Exit code 1 if it does not run,
/// never because of a figure.
/// Usage: idle_watch_bench [SECONDS]
#include "bench/wake_ups.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

void measure(const char* interval, int seconds, int readings) {
  QProcess process;
  process.start(
      QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("pellavox-cli")),
      {QStringLiteral("watch"), QStringLiteral("serial"), QStringLiteral("--interval"), QString::fromLatin1(interval)});
  if (!process.waitForReadyRead(30'000)) {
    std::fprintf(stderr, "idle_watch_bench: pellavox-cli watch does not run\n");
    std::exit(1);
  }
  QThread::msleep(500);  // asleep by now, half-way between two readings
  const long before = wakeUps(static_cast<pid_t>(process.processId()));
  QThread::sleep(static_cast<unsigned long>(seconds));
  const long after = wakeUps(static_cast<pid_t>(process.processId()));
  std::printf("pellavox-cli watch --interval %-5s %ld wake-ups in %d s (at most %d: its readings)\n", interval,
              after - before, seconds, readings);
  process.kill();
  process.waitForFinished();
}

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const int seconds = std::max(1, argc > 1 ? std::atoi(argv[1]) : 10);
  measure("1", seconds, seconds);
  measure("3600", seconds, 0);
  return 0;
}
