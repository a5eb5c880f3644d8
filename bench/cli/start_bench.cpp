/// @file
/// How long the command line takes to start: whole processes, alternating with minimal
/// ones. Prints medians and their ratios. Exit code 1 if a program fails, never because of
/// a time.
/// Usage: cli_start_bench [PAIRS]
#include "bench/pairs.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

struct Program {
  QString file;
  QStringList arguments;
};

double millisecondsOf(const Program& program) {
  QProcess process;
  process.setStandardOutputFile(QProcess::nullDevice());
  QElapsedTimer timer;
  timer.start();
  process.start(program.file, program.arguments);
  const bool good = process.waitForFinished(60'000) && process.exitCode() == 0;
  const auto time = static_cast<double>(timer.nsecsElapsed()) / 1e6;
  if (!good) {
    std::fprintf(stderr, "%s %s failed\n", qPrintable(program.file), qPrintable(program.arguments.join(' ')));
    std::exit(1);
  }
  return time;
}

Pairs measure(const Program& ours, const Program& least, int count) {
  millisecondsOf(ours);  // warms the disk cache
  millisecondsOf(least);
  return measurePairs(
      count, [&ours] { return millisecondsOf(ours); }, [&least] { return millisecondsOf(least); });
}

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const int pairs = std::max(1, argc > 1 ? std::atoi(argv[1]) : 25);
  const QDir folder(QCoreApplication::applicationDirPath());
  const Program version{folder.filePath("pellavox-cli"), {"--version"}};
  const Program info{folder.filePath("pellavox-cli"), {"info"}};
  const Pairs start = measure(version, {folder.filePath("qt_core_start"), {}}, pairs);
  std::printf("pellavox-cli --version: %.2f ms, a program that loads Qt Core: %.2f ms, ratio %.2f (at most 3)\n",
              start.ours, start.least, start.ours / start.least);
  const Pairs work = measure(info, {folder.filePath("info_calls"), {}}, pairs);
  std::printf("pellavox-cli info: %.2f ms, its library calls alone: %.2f ms, ratio %.2f, %.2f ms more (at most 5)\n",
              work.ours, work.least, work.ours / work.least, work.more);
  std::printf("Medians of %d pairs of whole processes, taken in turn.\n", pairs);
  return 0;
}
