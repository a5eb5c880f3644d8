#include "firmware/capture_image.h"
#include "tests/support/peak_memory.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryFile>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

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

/// The peer: the C library's search over the file in memory.
bool foundInMapping(const QTemporaryFile& file) {
  QFile image(file.fileName());
  if (!image.open(QIODevice::ReadOnly)) {
    return false;
  }
  uchar* const bytes = image.map(0, image.size());
  return bytes != nullptr && memmem(bytes, static_cast<std::size_t>(image.size()), kText.constData(),
                                    static_cast<std::size_t>(kText.size())) != nullptr;
}

/// A peer that is a separate program; both take the same arguments.
void search(const char* program, const QTemporaryFile& file) {
  QProcess process;
  process.start(QString::fromLatin1(program),
                {QStringLiteral("-c"), QStringLiteral("-F"), QString::fromLatin1(kText), file.fileName()});
  process.waitForFinished(-1);
  if (process.error() == QProcess::FailedToStart) {
    std::fprintf(stderr, "%s does not start; is it installed?\n", program);
    std::exit(1);
  }
}

void compare(const char* name, const QTemporaryFile& file, bool expected) {
  bool found = !expected;
  const auto before = peakMemoryKiB();
  const double ours = shortest([&] {
    QFile image(file.fileName());
    found = image.open(QIODevice::ReadOnly | QIODevice::Unbuffered) && firmware::containsText(image, kText);
  });
  const auto after = peakMemoryKiB();
  const double greps = shortest([&] { search("grep", file); });
  const double ripgreps = shortest([&] { search("rg", file); });
  const double mapped = shortest([&] { found = foundInMapping(file) == expected ? found : !expected; });
  std::printf(
      "%s: %.2f ms; peak memory +%ld KiB (at most 1024)%s\n"
      "  memmem over a mapping %8.2f ms, ratio %.2f (at most 1.1)\n"
      "  rg -c -F              %8.2f ms, ratio %.2f\n"
      "  grep -c -F            %8.2f ms, ratio %.2f\n",
      name, ours, after ? *after - *before : 0, found == expected ? "" : "  WRONG ANSWER", mapped, ours / mapped,
      ripgreps, ours / ripgreps, greps, ours / greps);
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

/// The search for the model's name in a capture image, compared with other searches of the
/// same file (a program's time includes its start). The shortest of five runs each.
/// Usage: capture_search_bench [MIB...]: sizes, 64 and 2048 without
int main(int argc, char** argv) {
  std::vector<qint64> sizes;
  for (int i = 1; i < argc; ++i) {
    sizes.push_back(std::max(1, std::atoi(argv[i])));
  }
  if (sizes.empty()) {
    sizes = {64, 2048};
  }

  QTemporaryFile sparse;
  fill(sparse, 0, {});
  sparse.resize(sizes.back() * kMiB);
  putAtEnd(sparse);
  compare(qPrintable(QStringLiteral("%1 MiB sparse, text at the end").arg(sizes.back())), sparse, true);

  QByteArray random(static_cast<int>(kMiB), '\0');
  std::mt19937 generator(1);
  std::generate(random.begin(), random.end(), [&generator] { return static_cast<char>(generator()); });
  for (const qint64 mib : sizes) {
    for (const auto& [name, block] :
         {std::pair("zeros", QByteArray(static_cast<int>(kMiB), '\0')), std::pair("noise", random),
          std::pair("\"KVR-\"", QByteArray("KVR-").repeated(static_cast<int>(kMiB / 4)))}) {
      QTemporaryFile file;
      fill(file, mib * kMiB, block);
      putAtEnd(file);
      compare(qPrintable(QStringLiteral("%1 MiB of %2, text at the end").arg(mib).arg(QLatin1String(name))), file,
              true);
    }
  }
  return 0;
}
