#include "firmware/capture_image.h"
#include "tests/support/peak_memory.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryFile>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <random>

namespace {

constexpr qint64 kMiB = qint64{1024} * 1024;
constexpr int kRuns = 5;
const QByteArray kText("KVR-7");

/// The shortest of some runs, in milliseconds.
template <typename Work>
double shortest(Work work) {
  double best = std::numeric_limits<double>::max();
  for (int run = 0; run < kRuns; ++run) {
    QElapsedTimer time;
    time.start();
    work();
    best = std::min(best, static_cast<double>(time.nsecsElapsed()) / 1e6);
  }
  return best;
}

void compare(const char* name, const QTemporaryFile& file, bool expected) {
  bool found = !expected;
  const auto before = peakMemoryKiB();
  const double ours = shortest([&] {
    QFile image(file.fileName());
    found = image.open(QIODevice::ReadOnly | QIODevice::Unbuffered) && firmware::containsText(image, kText);
  });
  const auto after = peakMemoryKiB();
  const double greps = shortest([&] {
    QProcess grep;
    grep.start(QStringLiteral("grep"),
               {QStringLiteral("-c"), QStringLiteral("-F"), QString::fromLatin1(kText), file.fileName()});
    grep.waitForFinished(-1);
    if (grep.error() == QProcess::FailedToStart) {
      std::fprintf(stderr, "grep does not start; is it installed?\n");
      std::exit(1);
    }
  });
  std::printf("%-32s %9.2f ms, grep -c -F %9.2f ms, ratio %5.2f, peak memory +%ld KiB%s\n", name, ours, greps,
              ours / greps, after ? *after - *before : 0, found == expected ? "" : "  WRONG ANSWER");
  if (found != expected) {
    std::exit(1);
  }
}

void fill(QTemporaryFile& file, qint64 size, const QByteArray& block) {
  if (!file.open()) {
    std::fprintf(stderr, "no temporary file can be made\n");
    std::exit(1);
  }
  for (qint64 written = 0; written < size; written += block.size()) {
    file.write(block);
  }
  file.flush();
}

void putAtEnd(QTemporaryFile& file) {
  file.seek(file.size() - kText.size());
  file.write(kText);
  file.flush();
}

}  // namespace

/// The search for the model's name in a capture image, beside grep's on the
/// same file (grep's time includes its start), the shortest of five runs each.
int main() {
  QTemporaryFile sparse;
  fill(sparse, 0, {});
  sparse.resize(2048 * kMiB);
  putAtEnd(sparse);
  compare("2 GiB sparse, text at the end", sparse, true);

  QByteArray random(static_cast<int>(kMiB), '\0');
  std::mt19937 generator(1);
  std::generate(random.begin(), random.end(), [&generator] { return static_cast<char>(generator()); });
  for (const auto& [name, block] :
       {std::pair("2 GiB of zeros, text at the end", QByteArray(static_cast<int>(kMiB), '\0')),
        std::pair("2 GiB of noise, text at the end", random),
        std::pair("2 GiB of \"KVR-\", text at the end", QByteArray("KVR-").repeated(static_cast<int>(kMiB / 4)))}) {
    QTemporaryFile file;
    fill(file, 2048 * kMiB, block);
    putAtEnd(file);
    compare(name, file, true);
  }
  return 0;
}
