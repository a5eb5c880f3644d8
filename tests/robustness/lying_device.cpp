/// @file
/// Runs every job of the program many times with a lying device and counts the
/// outcomes. Jobs run in separate processes, so that a crash or a hang is counted
/// instead of ending the run.
#include "tests/robustness/lying_jobs.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using lying::LyingJobs;
using lying::Outcome;
using lying::Verdict;

namespace {

// Numbers handled by one process before a new one takes over.
constexpr std::uint32_t kPerProcess = 500;
// A job takes milliseconds, or some tenths of a second under a sanitizer.
constexpr int kSilenceMs = 30'000;

struct Column {
  Outcome outcome;
  const char* word;  // used between the two processes
  const char* title;
  bool isBreach;
};

constexpr std::array<Column, 6> kColumns{{{Outcome::kHonestSuccess, "success", "success", false},
                                          {Outcome::kHonestFailure, "failure", "failure", false},
                                          {Outcome::kFailureThoughDone, "done", "though done", false},
                                          {Outcome::kFalseSuccess, "false", "false success", false},
                                          {Outcome::kHang, "hang", "hang", true},
                                          {Outcome::kBreach, "breach", "breach", true}}};

const Column& columnOf(Outcome outcome) { return kColumns.at(static_cast<std::size_t>(outcome)); }

/// Position of a job in a run.
struct Place {
  std::uint32_t number = 0;
  std::size_t job = 0;

  Place next(std::size_t jobs) const { return job + 1 < jobs ? Place{number, job + 1} : Place{number + 1, 0}; }
};

/// The worker process: runs `count` numbers from this place and prints one line per job:
/// number, job, outcome and reason.
int work(std::uint32_t seed, Place place, std::uint32_t count) {
  // Suppresses the program's debug output.
  qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type != QtDebugMsg) {
      std::fprintf(stderr, "%s\n", qPrintable(text));
    }
    if (type == QtFatalMsg) {
      std::abort();
    }
  });
  LyingJobs jobs;
  const std::size_t kinds = LyingJobs::jobNames().size();
  for (const std::uint32_t end = place.number + count; place.number < end; place = place.next(kinds)) {
    const Verdict verdict = jobs.run(place.job, seed, place.number);
    std::printf("%u %zu %s %s\n", place.number, place.job, columnOf(verdict.outcome).word, verdict.reason.c_str());
    std::fflush(stdout);
  }
  return 0;
}

struct Tally {
  std::map<Outcome, unsigned> outcomes;
  std::map<std::string, unsigned> falseSuccesses;
  unsigned crashes = 0;
};

/// Outcomes of all jobs.
class Run {
 public:
  Run(std::uint32_t seed, std::uint32_t count) : seed_(seed), count_(count) {}

  void go() {
    Place place;
    while (place.number < count_) {
      place = startWorker(place);
    }
  }

  /// @return whether there was no breach
  bool print(double seconds) const {
    std::printf("seed %u, %u times each job, in %.0f s\n\n%-28s", seed_, count_, seconds, "");
    for (const Column& column : kColumns) {
      std::printf(" %13s", column.title);
    }
    std::printf(" %6s\n", "crash");
    std::map<Outcome, unsigned> sums;
    unsigned crashes = 0;
    for (std::size_t job = 0; job < names_.size(); ++job) {
      const Tally& tally = tallies_[job];
      std::printf("%-28s", names_[job].c_str());
      for (const Column& column : kColumns) {
        const auto found = tally.outcomes.find(column.outcome);
        const unsigned times = found == tally.outcomes.end() ? 0 : found->second;
        sums[column.outcome] += times;
        std::printf(" %13u", times);
      }
      std::printf(" %6u\n", tally.crashes);
      crashes += tally.crashes;
    }
    std::printf("\nWhy the program could not see that a success was none:\n");
    for (std::size_t job = 0; job < names_.size(); ++job) {
      for (const auto& [reason, times] : tallies_[job].falseSuccesses) {
        std::printf("%8u  %s: %s\n", times, names_[job].c_str(), reason.c_str());
      }
    }
    const bool good = crashes == 0 && sums[Outcome::kHang] == 0 && sums[Outcome::kBreach] == 0;
    std::printf("%s: %zu jobs, %u crashes, %u hangs, %u breaches, %u explained false successes\n",
                good ? "good" : "BAD", names_.size() * count_, crashes, sums[Outcome::kHang], sums[Outcome::kBreach],
                sums[Outcome::kFalseSuccess]);
    return good;
  }

 private:
  /// Starts a worker at a place.
  /// @return where the next worker has to continue
  Place startWorker(Place place) {
    const std::uint32_t count = std::min(kPerProcess, count_ - place.number);
    const std::uint32_t end = place.number + count;
    QProcess worker;
    worker.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    worker.start(QCoreApplication::applicationFilePath(),
                 {"--work", QString::number(seed_), QString::number(place.number), QString::number(count),
                  QString::number(place.job)});
    bool silent = false;
    while (place.number < end) {
      if (!worker.canReadLine() && !worker.waitForReadyRead(kSilenceMs)) {
        silent = worker.state() != QProcess::NotRunning;
        break;
      }
      while (worker.canReadLine()) {
        place = note(worker.readLine(), place);
      }
    }
    if (silent) {
      worker.kill();
    }
    worker.waitForFinished(kSilenceMs);
    const bool endedWell = worker.exitStatus() == QProcess::NormalExit && worker.exitCode() == 0;
    if (place.number < end) {
      const bool hang = silent || worker.exitCode() == lying::kHangExitCode;
      complain(place, hang ? "hang" : "crash", worker.errorString().toStdString());
      ++(hang ? tallies_[place.job].outcomes[Outcome::kHang] : tallies_[place.job].crashes);
      return place.next(names_.size());
    }
    if (!endedWell) {
      const Place last{end - 1, names_.size() - 1};
      complain(last, "crash", "at the end of the process");
      ++tallies_[last.job].crashes;
    }
    return place;
  }

  Place note(const QByteArray& line, Place expected) {
    const QList<QByteArray> words = line.trimmed().split(' ');
    const auto* const column =
        std::find_if(kColumns.begin(), kColumns.end(), [&](const Column& one) { return words.value(2) == one.word; });
    if (words.size() < 3 || words[0].toUInt() != expected.number || words[1].toUInt() != expected.job ||
        column == kColumns.end()) {
      throw std::runtime_error("the worker speaks in riddles: " + line.toStdString());
    }
    const std::string reason = words.mid(3).join(' ').toStdString();
    Tally& tally = tallies_[expected.job];
    ++tally.outcomes[column->outcome];
    if (column->outcome == Outcome::kFalseSuccess) {
      ++tally.falseSuccesses[reason];
    } else if (column->isBreach) {
      complain(expected, column->word, reason);
    }
    return expected.next(names_.size());
  }

  void complain(Place place, const char* what, const std::string& how) const {
    std::printf("number %u, %s: %s: %s\n", place.number, names_[place.job].c_str(), what, how.c_str());
    std::fflush(stdout);
  }

  std::uint32_t seed_;
  std::uint32_t count_;
  std::vector<std::string> names_ = LyingJobs::jobNames();
  std::vector<Tally> tallies_{names_.size()};
};

}  // namespace

/// Usage: lying_device COUNT SEED; or, for the outcomes of single jobs,
/// lying_device --work SEED NUMBER COUNT JOB, from a number's job on. Exit code 1 when a job crashed, hung, or
/// showed a success or failure that its rules do not allow.
int main(int argc, char* argv[]) try {
  const bool isWorker = argc > 1 && std::string_view(argv[1]) == "--work";
  const std::unique_ptr<QCoreApplication> application(isWorker ? new QApplication(argc, argv)
                                                               : new QCoreApplication(argc, argv));
  const QStringList arguments = QCoreApplication::arguments();
  const auto number = [&arguments](int i) { return static_cast<std::uint32_t>(arguments.value(i).toUInt()); };
  if (isWorker && arguments.size() == 6) {
    return work(number(2), {number(3), number(5)}, number(4));
  }
  if (arguments.size() != 3 || number(1) == 0) {
    std::fprintf(stderr, "usage: %s COUNT SEED\n", argv[0]);
    return 2;
  }
  // Otherwise each worker would warn that there is none.
  const QTemporaryDir runtimeDirectory;
  if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) {
    qputenv("XDG_RUNTIME_DIR", runtimeDirectory.path().toUtf8());
  }
  QElapsedTimer time;
  time.start();
  Run run(number(2), number(1));
  run.go();
  return run.print(static_cast<double>(time.elapsed()) / 1000) ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 2;
}
