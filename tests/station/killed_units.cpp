/// @file
/// Kills a station at random moments of a unit, fills its disk or makes its ledger
/// read-only, and lets it continue; then checks each unit, byte for byte, and the ledger.
/// Usage: station_killed_units [COUNT [SEED]]
/// Uses as many units as it takes for COUNT kills before a unit's end.
#include "station/ledger_verify.h"
#include "tests/station/failing_vfs.h"
#include "tests/station/shift_bench.h"
#include "tests/support/seeded_random.h"

#include <QCoreApplication>
#include <QProcess>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <thread>

#ifdef _WIN32
#include <windows.h>
#else
#include <csignal>
#include <unistd.h>
#endif

namespace {

constexpr int kKilledCode = 77'777;  // of a process terminated on Windows

// ---- The station, in a separate process ----------------------------------

/// Like SIGKILL: the program cannot react.
void killMyself() {
#ifdef _WIN32
  TerminateProcess(GetCurrentProcess(), kKilledCode);
#else
  ::kill(getpid(), SIGKILL);
#endif
}

/// Measured inside the process, so that a busy machine does not delay the moment.
void killMyselfAfter(std::chrono::microseconds time) {
  std::thread([until = std::chrono::steady_clock::now() + time] {
    std::this_thread::sleep_until(until);
    killMyself();
  }).detach();
}

/// Arguments: --work JOB STATE_FILE UNIT WRITES READ_ONLY KILL_AFTER
int work(const QStringList& arguments) {
  if (const long writes = arguments[5].toLong(), readOnly = arguments[6].toLong(); writes >= 0 || readOnly != 0) {
    failing_vfs::install();
    failing_vfs::plan = {static_cast<int>(writes), SQLITE_FULL, readOnly != 0};
  }
  const QByteArray scenario = QStringLiteral(R"({"stateFile": "%1", "identity": {"serialNumber": "FAB%2"}})")
                                  .arg(arguments[3], arguments[4])
                                  .toUtf8();
  if (const std::string mistake = simulator::loadScenario(scenario.toStdString()); !mistake.empty()) {
    std::fprintf(stderr, "%s\n", mistake.c_str());
    return 99;
  }
  simulator::useVirtualTime();
  cli::Console console;
  console.out = [](const QByteArray& bytes) { return std::fputs(bytes.constData(), stdout) >= 0; };
  // Starts when the unit is plugged in; earlier kills would not affect it.
  std::optional<std::chrono::steady_clock::time_point> start;
  const long killAfter = arguments[7].toLong();
  console.err = [&start, killAfter](const QByteArray& bytes) {
    std::fputs(bytes.constData(), stderr);
    if (!start && bytes.startsWith("Plug in ")) {
      start = std::chrono::steady_clock::now();
      if (killAfter >= 0) {
        killMyselfAfter(std::chrono::microseconds(killAfter));
      }
    }
  };
  console.readLine = [] { return std::optional<QString>(); };
  console.pause = [](std::chrono::milliseconds time) { simulator::advanceTime(time); };
  console.now = [] { return std::chrono::steady_clock::time_point(simulator::now()); };
  console.library = DEVICE_LIBRARY;
  console.lockFolder = QFileInfo(arguments[2]).path();
  const auto code = static_cast<int>(cli::run(
      {"station", "run", arguments[2], "--operator", "Ann", "--station", "A", "--count", "1", "--unfinished", "resume"},
      console));
  if (start) {
    const auto took = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - *start);
    std::printf("took %lld\n", static_cast<long long>(took.count()));
  }
  return code;
}

// ---- The killer ----------------------------------------------------------

struct Counts {
  unsigned units = 0;
  unsigned killed = 0;
  unsigned missed = 0;  ///< the unit ended first
  unsigned full = 0;
  unsigned readOnly = 0;
  unsigned resumed = 0;
  unsigned passed = 0;
  unsigned breaches = 0;
};

struct Ended {
  int code = -1;
  QByteArray text;
  std::chrono::microseconds time{};
  bool isKilled = false;
};

class Campaign {
 public:
  explicit Campaign(unsigned seed) : random_({seed}) { jobFile_ = bench_.jobFile(); }

  /// Runs one unit without a kill; its duration determines when to kill others.
  void measure() {
    nextUnit();
    const Ended ended = run({});
    judge(ended);
    QFile::remove(state_);
    if (usual_.count() == 0) {
      breach("the time that a unit takes is not known", ended);
    }
  }

  void doUnit() {
    nextUnit();
    switch (random_.below(10)) {
      case 0:
        fillDisk();
        break;
      case 1:
        takeRights();
        break;
      default:
        kill();
    }
    for (int again = 0; again < 3 && random_.chance(30); ++again) {
      kill();
    }
    const Ended ended = run({});
    judge(ended);
    QFile::remove(state_);
  }

  void finish() {
    const auto verified = station::verifyLedger(bench_.ledgerFile());
    if (!verified || !verified->found.isEmpty()) {
      breach("the ledger: " + (verified ? verified->found.join("; ") : verified.error().message), {});
    }
  }

  Counts counts;

 private:
  void nextUnit() {
    // A unit takes at most one key per attempt.
    constexpr int kKeysOfUnit = 8;
    bench_.makeKeys(kKeysOfUnit, static_cast<int>(counts.units++) * kKeysOfUnit + 1);
    number_ = QString::number(counts.units);
    state_ = bench_.cli.path("unit-" + number_ + ".state");
  }

  Ended run(std::optional<std::chrono::microseconds> killAfter, long writes = -1, bool readOnly = false) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationFilePath(),
                  {"--work", jobFile_, state_, number_, QString::number(writes), QString::number(readOnly ? 1 : 0),
                   QString::number(killAfter ? killAfter->count() : -1)});
    process.waitForFinished(60'000);
    Ended ended;
    ended.text = process.readAll();
    ended.code = process.exitCode();
    ended.isKilled = process.exitStatus() != QProcess::NormalExit || ended.code == kKilledCode;
    counts.resumed += ended.text.contains("was not finished") ? 1 : 0;
    const int took = ended.text.lastIndexOf("took ");
    ended.time =
        std::chrono::microseconds(took < 0 ? 0 : ended.text.mid(took + 5).split('\n').first().trimmed().toLongLong());
    return ended;
  }

  void kill() {
    const auto longest = static_cast<std::uint32_t>(usual_.count());
    const bool isKilled = run(std::chrono::microseconds(random_.below(longest))).isKilled;
    ++(isKilled ? counts.killed : counts.missed);
  }

  void fillDisk() {
    const Ended ended = run({}, static_cast<long>(random_.below(60)));
    counts.full += ended.text.contains("PASS  ") ? 0 : 1;
    if (ended.code == 0 && !ended.text.contains("PASS  ")) {
      breach("a full disk passed for success", ended);
    }
  }

  void takeRights() {
    const bool wasThere = QFile::exists(state_);
    const Ended ended = run({}, -1, true);
    ++counts.readOnly;
    if (ended.code == 0 || ended.text.contains("PASS  ") || QFile::exists(state_) != wasThere) {
      breach("a ledger that cannot be written was no reason to stop", ended);
    }
  }

  void judge(const Ended& ended) {
    // A moving average over units without a kill.
    if (ended.text.contains("PASS  ") && !ended.text.contains("was not finished")) {
      usual_ = usual_.count() == 0 ? ended.time : (usual_ * 3 + ended.time) / 4;
    }
    simulator::loadScenario(QStringLiteral(R"({"stateFile": "%1"})").arg(state_).toStdString());
    simulator::useVirtualTime();
    const Unit unit = ShiftBench::look();
    const auto ledger = station::Ledger::open(bench_.ledgerFile(), station::LedgerAccess::kRead);
    const auto known = ledger ? ledger->unit(QString::fromLatin1(unit.serial)) : tl::make_unexpected(ledger.error());
    simulator::reset();
    if (!known) {
      return breach("the ledger: " + known.error().message, ended);
    }
    if (!known->hasPassed) {
      return breach("the unit did not pass", ended);
    }
    ++counts.passed;
    if (const QString mistake = bench_.mistakeIn(unit, unit.serial); !mistake.isEmpty()) {
      return breach("a unit passed that is wrong: " + mistake, ended);
    }
    if (known->keySha256 != sha256(unit.key) || !keys_.insert(unit.key).second ||
        !serials_.insert(unit.serial).second) {
      breach("a key or a serial number that is not this unit's alone", ended);
    }
  }

  void breach(const QString& what, const Ended& ended) {
    ++counts.breaches;
    std::printf("breach: unit %s: %s\n%s\n", qPrintable(number_), qPrintable(what), ended.text.constData());
  }

  ShiftBench bench_;
  SeededRandom random_;
  QString jobFile_;
  QString state_;
  QString number_;
  std::chrono::microseconds usual_{};  // usual time of a unit
  std::set<QByteArray> keys_;
  std::set<QByteArray> serials_;
};

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const QStringList arguments = QCoreApplication::arguments();
  if (arguments.value(1) == "--work") {
    return work(arguments);
  }
  const unsigned count = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 500;
  const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
  Campaign campaign(seed);
  campaign.measure();
  Counts& counts = campaign.counts;
  while (counts.killed < count && counts.breaches == 0 && counts.missed < 100 + 10 * count) {
    campaign.doUnit();
  }
  campaign.finish();
  const bool isGood = counts.breaches == 0 && counts.passed == counts.units && counts.killed >= count && count > 0;
  std::printf(
      "%s: %u units, seed %u: %u kills (%u more came too late), %u full disks, %u ledgers read-only; %u resumed, "
      "%u passed, %u breaches\n",
      isGood ? "good" : "BAD", counts.units, seed, counts.killed, counts.missed, counts.full, counts.readOnly,
      counts.resumed, counts.passed, counts.breaches);
  return isGood ? 0 : 1;
}
