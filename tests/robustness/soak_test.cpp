#include "tests/robustness/soak.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPixmapCache>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <malloc.h>
#include <optional>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define PELLAVOX_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define PELLAVOX_SANITIZED 1
#endif
#endif

namespace {

constexpr unsigned kFirstMeasure = 1000;
constexpr long kMaxGrowthKiB = 1024;
// Sanitizers use memory themselves and keep freed memory for a while.
#if defined(PELLAVOX_SANITIZED)
constexpr bool kMemoryCounts = false;
#else
constexpr bool kMemoryCounts = true;
#endif

void quiet(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
  if (type == QtFatalMsg) {
    std::fprintf(stderr, "%s\n", qPrintable(text));
  }
}

}  // namespace

/// Usage: soak_test COUNT SEED. Performs COUNT random operations with one window and
/// prints the use of memory, files, threads and objects along the way. Exit code 1 if
/// memory has grown by more than 1 MiB since the first 1,000 operations, if anything
/// else has grown, or if the window does not answer.
int main(int argc, char* argv[]) try {
  qInstallMessageHandler(&quiet);
#if defined(__GLIBC__)
  // Makes fragmentation independent of the order of threads.
  mallopt(M_ARENA_MAX, 1);
#endif
  const QApplication application(argc, argv);
  // The cache would grow to 10 MiB, mostly with file dialog icons, and keeps the names
  // of dropped pictures for half a minute.
  QPixmapCache::setCacheLimit(0);
  const unsigned long count = argc == 3 ? std::strtoul(argv[1], nullptr, 10) : 0;
  const unsigned long seed = argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 0;
  if (count <= kFirstMeasure) {
    std::fprintf(stderr, "usage: %s COUNT SEED, COUNT above %u\n", argv[0], kFirstMeasure);
    return 2;
  }
  QElapsedTimer time;
  time.start();
  Soak soak(static_cast<unsigned>(seed));
  std::array<unsigned, Soak::kKinds.size()> done{};
  std::optional<Measure> first;
  Measure last;
  std::printf("memory without Qt's pixmap cache (off) and after emptying the text fields (undo)\n");
  std::printf("%10s %9s %9s %9s %6s %8s %8s %8s\n", "operations", "heap KiB", "undo KiB", "resident", "files",
              "threads", "windows", "objects");
  for (unsigned long i = 1; i <= count; ++i) {
    ++done[soak.operate()];
    if (i == kFirstMeasure || i == count || (i > kFirstMeasure && i % (count / 10) == 0)) {
      last = soak.measure();
      first = first.value_or(last);
      std::printf("%10u %9ld %9ld %9ld %6ld %8ld %8ld %8ld\n", last.operations, last.heapKiB, last.undoKiB,
                  last.residentKiB, last.files, last.threads, last.windows, last.objects);
      std::fflush(stdout);
    }
  }
  for (std::size_t kind = 0; kind < done.size(); ++kind) {
    std::printf("%10u  %s\n", done[kind], Soak::kKinds[kind].name);
  }
  std::printf("%10u  workers ended\n%10d  of %d controls used\n", soak.endedWorkers(), soak.usedControls(),
              soak.controls());

  const bool answers = soak.answers();
  const long heapGrowth = last.heapKiB - first->heapKiB;
  const long residentGrowth = last.residentKiB - first->residentKiB;
  const bool isSteady = last.files <= first->files && last.threads <= first->threads &&
                        last.windows <= first->windows && last.objects <= first->objects;
  const bool memoryIsSteady = !kMemoryCounts || (heapGrowth <= kMaxGrowthKiB && residentGrowth <= kMaxGrowthKiB);
  const bool isWhole = soak.usedControls() == soak.controls();
  const bool good = answers && isSteady && memoryIsSteady && isWhole && !soak.isStuck();
  std::printf(
      "%s: seed %lu, %lu operations in %.0f s; growth since the first %u: heap %ld KiB, resident %ld KiB%s, "
      "files %ld, threads %ld, windows %ld, objects %ld; %s\n",
      good ? "good" : "BAD", seed, count, static_cast<double>(time.elapsed()) / 1000, kFirstMeasure, heapGrowth,
      residentGrowth, kMemoryCounts ? "" : " (not judged: a sanitizer's own)", last.files - first->files,
      last.threads - first->threads, last.windows - first->windows, last.objects - first->objects,
      soak.isStuck() ? "a worker did not end"
      : !isWhole     ? "controls left out"
      : answers      ? "the window answers"
                     : "the window does NOT answer");
  return good ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 2;
}
