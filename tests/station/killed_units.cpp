/// @file
/// Kills a station at random moments of a unit, fills its disk, takes its right to write,
/// and lets it go on; then holds each unit, byte for byte, and the ledger against what
/// they must be.
/// Usage: station_killed_units [COUNT [SEED]]
#include "station/ledger_verify.h"
#include "tests/station/failing_vfs.h"
#include "tests/station/shift_bench.h"
#include "tests/support/seeded_random.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <thread>

namespace {

// ---- The station, a process of its own -----------------------------------

/// Arguments: --work JOB STATE_FILE UNIT WRITES READ_ONLY
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
  console.err = [](const QByteArray& bytes) { std::fputs(bytes.constData(), stderr); };
  console.readLine = [] { return std::optional<QString>(); };
  console.pause = [](std::chrono::milliseconds time) { simulator::advanceTime(time); };
  console.now = [] { return std::chrono::steady_clock::time_point(simulator::now()); };
  console.library = DEVICE_LIBRARY;
  console.lockFolder = QFileInfo(arguments[2]).path();
  std::printf("begins\n");
  std::fflush(stdout);
  return static_cast<int>(cli::run(
      {"station", "run", arguments[2], "--operator", "Ann", "--station", "A", "--count", "1", "--unfinished", "resume"},
      console));
}

// ---- Who kills it --------------------------------------------------------

struct Counts {
  unsigned killed = 0;
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
  Campaign(unsigned count, unsigned seed) : random_({seed}) {
    bench_.makeKeys(static_cast<int>(count) * 4 + 20);
    jobFile_ = bench_.jobFile();
  }

  void doUnit(unsigned number) {
    number_ = QString::number(number);
    state_ = bench_.cli.path("unit-" + number_ + ".state");
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
    counts.resumed += ended.text.contains("was not finished") ? 1 : 0;
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
  Ended run(std::optional<std::chrono::microseconds> killAfter, long writes = -1, bool readOnly = false) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationFilePath(),
                  {"--work", jobFile_, state_, number_, QString::number(writes), QString::number(readOnly ? 1 : 0)});
    Ended ended;
    while (process.state() != QProcess::NotRunning && !ended.text.contains("begins")) {
      process.waitForReadyRead(100);
      ended.text += process.readAll();
    }
    QElapsedTimer timer;
    timer.start();
    if (killAfter) {
      std::this_thread::sleep_for(*killAfter);
      process.kill();
    }
    process.waitForFinished(60'000);
    ended.time = std::chrono::microseconds(timer.nsecsElapsed() / 1000);
    ended.text += process.readAll();
    ended.isKilled = process.exitStatus() != QProcess::NormalExit;
    ended.code = process.exitCode();
    return ended;
  }

  void kill() {
    const auto longest = static_cast<std::uint32_t>(longest_.count());
    counts.killed += run(std::chrono::microseconds(random_.below(longest))).isKilled ? 1 : 0;
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
    // The longest seen, so that kills fall all over a unit's job.
    if (ended.text.contains("PASS  ") && ended.time < std::chrono::seconds(2)) {
      longest_ = std::max(longest_, ended.time);
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
  std::chrono::microseconds longest_{200'000};
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
  Campaign campaign(count, seed);
  for (unsigned number = 1; number <= count; ++number) {
    campaign.doUnit(number);
  }
  campaign.finish();
  const Counts& counts = campaign.counts;
  std::printf(
      "%s: %u units, seed %u: %u kills, %u full disks, %u ledgers read-only; %u resumed, %u passed, %u breaches\n",
      counts.breaches == 0 ? "good" : "BAD", count, seed, counts.killed, counts.full, counts.readOnly, counts.resumed,
      counts.passed, counts.breaches);
  return counts.breaches == 0 && counts.passed == count && count > 0 ? 0 : 1;
}
