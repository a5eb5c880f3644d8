#include "tests/support/program_run.h"
#include "tests/support/test_files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

using namespace std::chrono_literals;

namespace {

// Long enough for a slow, busy machine, but shorter than the long operations, so that
// a program that waits for them is noticed.
constexpr auto kPrompt = 20s;
constexpr auto kStuck = 60s;
// With more, a machine with many cores runs out of resources to start processes.
constexpr int kMostAtOnce = 16;
// A process that cannot be started is not the program's fault, so try again.
constexpr int kStarts = 5;
constexpr auto kBeforeNextStart = 500ms;
// After this many runs of a job, some must have hit its calls.
constexpr unsigned kSpread = 50;

/// A long job, and when to close the window during it.
struct Job {
  const char* name = nullptr;
  const char* scenario = nullptr;  ///< of the simulated device
  const char* script = nullptr;    ///< for the probe; DIR is the folder of the files, CLOSE the step that closes
  int lastMoment = 0;              ///< closed at any moment from 0 on, in ms after CLOSE
  int end = 0;                     ///< a third of the runs close around this moment; 0 = none
  bool calls = false;              ///< makes calls that take long enough to be hit
  int lingerMs = 0;                ///< delay of the process's end
};

// The times follow from the simulated device and the upgrade's pauses. With a delayed
// end of the process, a worker ends after Qt's objects have been destroyed.
constexpr std::array kJobs{
    Job{"MCU upgrade", "{}",
        "click BN_Connect;click BN_Browse_ExtMCU_QX;open DIR/mcu.bin;CLOSE;click BN_Apply_ExtMCU_QX", 1700, 1680,
        false},
    Job{"MCU upgrade, slow end of the process", R"({"externalMcu": {"mode": "bootLoader"}})",
        "click BN_Connect;click BN_Browse_ExtMCU_QX;open DIR/mcu.bin;CLOSE;click BN_Apply_ExtMCU_QX", 700, 640, false,
        900},
    Job{"MCU upgrade of half a minute", R"({"externalMcu": {"family": "v"}})",
        "click BN_Connect;click BN_Browse_ExtMCU_QX;open DIR/long.bin;CLOSE;click BN_Apply_ExtMCU_QX", 1700, 0, false},
    Job{"MCU upgrade, slow calls", R"({"externalMcu": {"family": "v", "mode": "bootLoader"}, "latencyMs": 20})",
        "click BN_Connect;click BN_Browse_ExtMCU_QX;open DIR/short.bin;CLOSE;click BN_Apply_ExtMCU_QX", 1500, 1500,
        true},
    Job{"MCU that never gets ready",
        R"({"externalMcu": {"mode": "bootLoader"}, "faults": [{"at": "mcu.packet", "what": "busy"}],
            "latencyMs": 5})",
        "click BN_Connect;click BN_Browse_ExtMCU_QX;open DIR/mcu.bin;CLOSE;click BN_Apply_ExtMCU_QX", 1350, 1300, true},
    Job{"capture burn", "{}",
        "click BN_Connect;click BN_Browse_Cap_QX;open DIR/short.img;CLOSE;click BN_Apply_CapMCU_QX", 540, 535, true},
    Job{"capture burn of 80 s", "{}",
        "click BN_Connect;click BN_Browse_Cap_QX;open DIR/long.img;CLOSE;click BN_Apply_CapMCU_QX", 1200, 0, true},
    Job{"two capture burns at once", "{}",
        "click BN_Connect;click BN_Browse_Cap_QX;open DIR/long.img;CLOSE;"
        "click BN_Apply_CapMCU_QX;click BN_Apply_CapMCU",
        1200, 0, true},
    Job{"burn and upgrade at once", R"({"latencyMs": 1})",
        "click BN_Connect;click BN_Browse_Cap_QX;open DIR/medium.img;click BN_Browse_ExtMCU_QX;open DIR/mcu.bin;CLOSE;"
        "click BN_Apply_CapMCU_QX;click BN_Apply_ExtMCU_QX",
        1800, 1650, true},
    Job{"the same, slow end of the process", R"({"externalMcu": {"mode": "bootLoader"}, "latencyMs": 1})",
        "click BN_Connect;click BN_Browse_Cap_QX;open DIR/short.img;click BN_Browse_ExtMCU_QX;open DIR/mcu.bin;CLOSE;"
        "click BN_Apply_CapMCU_QX;click BN_Apply_ExtMCU_QX",
        800, 600, true, 1000},
    Job{"failed burn, progress timer running",
        R"({"speedFactor": 50, "faults": [{"at": "captureFlash", "fromPercent": 30, "count": 0}]})",
        "click BN_Connect;click BN_Browse_Cap_QX;open DIR/short.img;CLOSE;click BN_Apply_CapMCU_QX", 1300, 510, false},
    // In the jobs below, the GUI thread itself makes the calls.
    Job{"Connect", R"({"latencyMs": 40})", "CLOSE;wait 20;click BN_Connect", 260, 220, true},
    Job{"RX Read", R"({"latencyMs": 150})", "click BN_Connect;CLOSE;wait 20;click BN_Info_Read", 210, 170, true},
    Job{"HDCP key burn", R"({"latencyMs": 150})", "click BN_Connect;click BN_Browse_Key;CLOSE;open DIR/short.bin", 260,
        0, true},
    Job{"EDID write", R"({"latencyMs": 150})",
        "click BN_Connect;click BN_Apply_WriteFlashEDID;CLOSE;open DIR/short.bin", 260, 0, true},
    Job{"restore", R"({"latencyMs": 150})", "click BN_Connect;CLOSE;wait 20;click BN_Apply_Reset", 210, 170, true},
    Job{"reboot", R"({"latencyMs": 150})", "click BN_Connect;CLOSE;wait 20;click BN_Apply_Reboot", 210, 170, true},
};

/// An image for the first model.
QByteArray imageOf(int size) {
  QByteArray content(size, 'x');
  return content.replace(size / 2, 5, "KVR-7");
}

void writeFiles(const QDir& directory) {
  for (const auto& [name, size] :
       {std::pair("short.bin", 128), std::pair("mcu.bin", 1024), std::pair("long.bin", 64 * 1024),
        std::pair("short.img", 100'000), std::pair("medium.img", 300'000), std::pair("long.img", 16 * 1024 * 1024)}) {
    writeFile(directory.filePath(name), imageOf(size));
  }
  for (std::size_t i = 0; i < kJobs.size(); ++i) {
    writeFile(directory.filePath(QStringLiteral("%1.json").arg(i)), kJobs[i].scenario);
  }
}

/// Counts over the runs of one job.
struct Figures {
  unsigned ahead = 0;
  unsigned inCall = 0;
  unsigned between = 0;
  unsigned after = 0;
  unsigned unclean = 0;
  std::chrono::milliseconds slowestEnd{};
  std::map<std::string, unsigned> messages;  // kinds of texts shown at the moment of closing
};

/// Texts such as "Update 25%..." count as one kind.
std::string kindOf(QString message) {
  for (int i = 0; i < message.size(); ++i) {
    if (message[i].isDigit()) {
      message[i] = '#';
      while (i + 1 < message.size() && message[i + 1].isDigit()) {
        message.remove(i + 1, 1);
      }
    }
  }
  return message.toStdString();
}

/// Runs all jobs, several at a time, because runs mostly wait.
class Runs : public QObject {
 public:
  Runs(unsigned count, unsigned seed) : count_(count), seed_(seed) { writeFiles(QDir(directory_.path())); }

  /// Returns when all have ended.
  void go() {
    const int atOnce = std::min(8 * std::max(1, QThread::idealThreadCount()), kMostAtOnce);
    for (int i = 0; i < atOnce; ++i) {
      startNext();
    }
    QCoreApplication::exec();
  }

  const Figures& figures(std::size_t job) const { return figures_[job]; }

 private:
  /// One process; a child of the runs until it has ended.
  class Run : public QProcess {
   public:
    Run(QObject* parent, std::size_t ofJob, int closedAfterMs) : QProcess(parent), job(ofJob), moment(closedAfterMs) {}

    std::size_t job;
    int moment;
    QByteArray output;
    std::chrono::steady_clock::time_point closed;  // as seen by this process
    bool isStuck = false;
    int starts = 0;
  };

  // The moment depends only on the job and the number of the run.
  int momentOf(const Job& job, std::size_t jobNumber, unsigned run) const {
    std::seed_seq sequence{seed_, static_cast<unsigned>(jobNumber), run};
    std::mt19937 random(sequence);
    const auto between = [&random](int least, int most) {
      return least + static_cast<int>(random() % static_cast<unsigned>(most - least + 1));
    };
    return job.end != 0 && run % 3 == 2 ? between(std::max(0, job.end - 60), job.end + 200)
                                        : between(0, job.lastMoment);
  }

  void startNext() {
    if (started_ == count_ * kJobs.size()) {
      if (running_ == 0) {
        QCoreApplication::quit();
      }
      return;
    }
    // Alternates the jobs, so that slow and quick ones run side by side.
    const std::size_t number = started_ % kJobs.size();
    const auto round = static_cast<unsigned>(started_ / kJobs.size());
    ++started_;
    ++running_;
    const Job& job = kJobs[number];
    auto* const run = new Run(this, number, momentOf(job, number, round));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("RTICE_SIMULATOR_SCENARIO", QStringLiteral("%1/%2.json").arg(directory_.path()).arg(number));
    // A separate folder, because file dialogs lock their settings file.
    environment.insert("XDG_CONFIG_HOME", QStringLiteral("%1/config%2").arg(directory_.path()).arg(started_));
    if (job.lingerMs > 0) {
      environment.insert("PELLAVOX_PROBE_LINGER_MS", QString::number(job.lingerMs));
    }
    const QString script = QString::fromLatin1(job.script)
                               .replace("DIR", directory_.path())
                               .replace("CLOSE", QStringLiteral("closeafter %1").arg(run->moment));
    run->setProcessEnvironment(scriptEnvironment(PLUGINS, script, environment));
    connect(run, &QProcess::readyReadStandardOutput, run, [run] {
      run->output += run->readAllStandardOutput();
      if (run->closed == std::chrono::steady_clock::time_point() && run->output.contains("closing: ")) {
        run->closed = std::chrono::steady_clock::now();
      }
    });
    connect(run, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this, [this, run] {
      evaluate(*run);
      run->deleteLater();
      --running_;
      startNext();
    });
    connect(run, &QProcess::errorOccurred, this, [this, run](QProcess::ProcessError error) {
      if (error == QProcess::FailedToStart) {
        startAgain(*run);
      }
    });
    QTimer::singleShot(kStuck, run, [run] {
      run->isStuck = true;
      run->kill();
    });
    start(*run);
  }

  static void start(Run& run) {
    ++run.starts;
    run.start(PROGRAM, QStringList());
  }

  void startAgain(Run& run) {
    std::fprintf(stderr, "%s did not start: %s\n", PROGRAM, qPrintable(run.errorString()));
    if (run.starts < kStarts) {
      QTimer::singleShot(kBeforeNextStart, &run, [&run] { start(run); });
      return;
    }
    std::fflush(stderr);
    std::exit(1);
  }

  void evaluate(Run& run) {
    const Job& job = kJobs[run.job];
    Figures& figures = figures_[run.job];
    run.output += run.readAllStandardOutput();
    const ProgramRun program{!run.isStuck && run.exitStatus() == QProcess::NormalExit, run.exitCode(), 0, run.output,
                             run.readAllStandardError()};

    const QString closing = QString::fromLocal8Bit(run.output).section("closing: ", 1).section('\n', 0, 0).trimmed();
    const auto end = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - run.closed - std::chrono::milliseconds(job.lingerMs));
    if (!closing.isEmpty()) {
      figures.slowestEnd = std::max(figures.slowestEnd, end);
      note(closing, figures);
    }
    if (!program.ended || program.exitCode != 0 || !program.isQuiet() || closing.isEmpty() || end > kPrompt) {
      ++figures.unclean;
      std::printf("%s, closed after %d ms: %s, exit code %d, \"%s\", %lld ms later\n%s\n", job.name, run.moment,
                  program.ended ? "ended" : "did not end well", program.exitCode, qPrintable(closing),
                  static_cast<long long>(end.count()), program.errors.constData());
    }
  }

  // Parses the probe's line about the moment of closing.
  static void note(const QString& closing, Figures& figures) {
    const QString lastStep = closing.section(' ', 0, 0);
    if (closing.section(' ', 1, 1).toUInt() > 0) {
      ++figures.inCall;
    } else if (lastStep == "ahead") {
      ++figures.ahead;
    } else if (lastStep == "underway" || closing.section(' ', 2, 2).toInt() > 0) {
      ++figures.between;
    } else {
      ++figures.after;
    }
    ++figures.messages[kindOf(closing.section(' ', 3))];
  }

  unsigned count_;
  unsigned seed_;
  QTemporaryDir directory_;
  std::array<Figures, kJobs.size()> figures_;
  std::size_t started_ = 0;
  unsigned running_ = 0;
};

}  // namespace

/// Usage: close_test COUNT SEED. Starts the real program COUNT times for each job and
/// closes its window at random moments. Prints for each job how many of these moments
/// were before the job, in a device library call, between calls and after the job, and
/// which texts the message line showed. Exit code 1 if a run did not end promptly, by
/// itself, silently and with exit code 0.
int main(int argc, char* argv[]) {
  const QCoreApplication application(argc, argv);
  const unsigned long count = argc == 3 ? std::strtoul(argv[1], nullptr, 10) : 0;
  const unsigned long seed = argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 0;
  if (count == 0) {
    std::fprintf(stderr, "usage: %s COUNT SEED\n", argv[0]);
    return 2;
  }
  const auto start = std::chrono::steady_clock::now();
  Runs runs(static_cast<unsigned>(count), static_cast<unsigned>(seed));
  runs.go();
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;

  std::printf("seed %lu, each job closed %lu times, in %.0f s\n", seed, count, elapsed.count());
  std::printf("%-37s %7s %7s %7s %7s %8s %12s\n", "job, and the texts it was closed at", "before", "in call", "between",
              "after", "unclean", "slowest end");
  unsigned unclean = 0;
  unsigned notHit = 0;
  for (std::size_t i = 0; i < kJobs.size(); ++i) {
    const Figures& figures = runs.figures(i);
    std::printf("%-37s %7u %7u %7u %7u %8u %9lld ms\n", kJobs[i].name, figures.ahead, figures.inCall, figures.between,
                figures.after, figures.unclean, static_cast<long long>(figures.slowestEnd.count()));
    for (const auto& [text, times] : figures.messages) {
      std::printf("%8u  \"%s\"\n", times, text.c_str());
    }
    unclean += figures.unclean;
#if !defined(Q_OS_WIN)  // the probe cannot see the calls there
    notHit += kJobs[i].calls && count >= kSpread && figures.inCall == 0;
#endif
  }
  const bool good = unclean == 0 && notHit == 0;
  std::printf("%s: %lu runs, %u unclean exits, %u jobs whose calls were not hit\n", good ? "good" : "BAD",
              count * static_cast<unsigned long>(kJobs.size()), unclean, notHit);
  return good ? 0 : 1;
}
