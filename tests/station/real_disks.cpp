/// @file
/// The station, as users start it, with its ledger on a full or read-only disk; then
/// there is room again, and it continues.
/// Usage: station_real_disks [COUNT [SEED]]
/// Exit code 77 if this user may not mount a disk.
#include "station/ledger_verify.h"
#include "tests/station/shift_bench.h"
#include "tests/support/mounted_disk.h"
#include "tests/support/seeded_random.h"

#include <QCoreApplication>
#include <QProcess>

#include <cstdio>
#include <cstdlib>
#include <set>

namespace {

// Room for a ledger of several units and its log.
constexpr int kDiskKiB = 4096;
constexpr qint64 kBlock = 4096;

struct Ended {
  int code = -1;
  QByteArray out;
  QByteArray err;
};

struct Counts {
  unsigned full = 0;
  unsigned fullAtStart = 0;
  unsigned hadRoom = 0;
  unsigned unreadable = 0;  ///< attempts to read a ledger for which there was no room
  unsigned readOnly = 0;
  unsigned resumed = 0;
  unsigned passed = 0;
  unsigned breaches = 0;
};

class Campaign {
 public:
  explicit Campaign(unsigned seed) : random_({seed}) {
    // An upgrade of the MCU takes real time.
    bench_.job["steps"] = QJsonArray{ShiftBench::step("serial"), ShiftBench::step("capture"), ShiftBench::step("key"),
                                     ShiftBench::step("edid")};
    bench_.job.remove("mcu");
    jobFile_ = bench_.jobFile();
    QDir().mkpath(bench_.cli.path("disk"));
  }

  /// A new disk with its first unit on it, or the next unit on a disk.
  void doUnit(unsigned number) {
    number_ = QString::number(number);
    state_ = bench_.cli.path("unit-" + number_ + ".state");
    // A unit takes at most one key per attempt.
    constexpr int kKeysOfUnit = 4;
    bench_.makeKeys(kKeysOfUnit, static_cast<int>(number - 1) * kKeysOfUnit + 1);
    bench_.cli.write("unit.json",
                     QStringLiteral(R"({"clock": "virtual", "stateFile": "%1", "identity": {"serialNumber": "FAB%2"}})")
                         .arg(state_, number_)
                         .toUtf8());
    if (!disk_ || random_.chance(20)) {
      finishDisk();
      disk_.emplace(bench_.cli.path("disk"), kDiskKiB);
      serials_.clear();
      keys_.clear();
    }
    if (random_.chance(25)) {
      takeRights();
    } else {
      fill();
    }
    const Ended ended = run();
    counts.resumed += ended.err.contains("was not finished") ? 1 : 0;
    judge(ended);
    QFile::remove(state_);
  }

  void finishDisk() {
    if (!disk_) {
      return;
    }
    const Ended verified = start({"station", "verify", "--ledger", ledger()});
    if (verified.code != 0) {
      breach("the ledger does not verify", verified);
    }
    disk_.reset();
  }

  Counts counts;

 private:
  QString ledger() const { return bench_.cli.path("disk/line.ledger"); }

  Ended start(const QStringList& arguments) const {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("RTICE_SIMULATOR_SCENARIO", bench_.cli.path("unit.json"));
    process.setProcessEnvironment(environment);
    process.start(PROGRAM, arguments);
    Ended ended;
    if (process.waitForFinished(60'000) && process.exitStatus() == QProcess::NormalExit) {
      ended.code = process.exitCode();
    }
    ended.out = process.readAllStandardOutput();
    ended.err = process.readAllStandardError();
    return ended;
  }

  Ended run() const {
    return start({"station", "run", jobFile_, "--operator", "Ann", "--station", "A", "--count", "1", "--ledger",
                  ledger(), "--unfinished", "resume"});
  }

  /// A new ledger needs about 30 blocks, a unit about as many again.
  void fill() {
    if (!disk_->fillUpTo(static_cast<qint64>(random_.below(110)) * kBlock)) {
      return breach("cannot fill the disk", {});
    }
    const Ended ended = run();
    if (ended.code == 0) {
      ++counts.hadRoom;
    } else {
      ++counts.full;
      // A shift prints a document only if it could begin a unit.
      const bool isBegun = !ended.out.isEmpty();
      counts.fullAtStart += isBegun ? 0 : 1;
      if (ended.code != 12 || ended.err.contains("PASS  ") || !ended.err.contains("the ledger")) {
        breach("a full disk was not reported as such", ended);
      }
      if (!isBegun && QFile::exists(state_)) {
        breach("a unit was touched without a ledger", ended);
      }
      if (!QDir(bench_.cli.path("disk")).entryList({"*.new-*"}, QDir::Files).isEmpty()) {
        breach("half a ledger was left", ended);
      }
    }
    // The ledger can be read from a full disk, unless there is no room for SQLite's
    // shared-memory file, and without write permission.
    if (QFile::exists(ledger())) {
      requireReadable("the disk is full");
      if (!disk_->setReadOnly(true)) {
        return breach("cannot make the disk read-only", {});
      }
      requireReadable();
      disk_->setReadOnly(false);
    }
    disk_->makeRoom();
  }

  void takeRights() {
    ++counts.readOnly;
    const bool wasThere = QFile::exists(ledger());
    if (!disk_->setReadOnly(true)) {
      return breach("cannot make the disk read-only", {});
    }
    const Ended ended = run();
    if (ended.code != 12 || !ended.out.isEmpty() || ended.err.count('\n') != 1 || QFile::exists(state_)) {
      breach("a disk that cannot be written was no reason to stop", ended);
    }
    if (wasThere) {
      requireReadable();
    }
    if (!disk_->setReadOnly(false)) {
      breach("cannot make the disk writable again", {});
    }
  }

  void requireReadable(const char* excuse = nullptr) {
    for (const char* verb : {"verify", "status"}) {
      const Ended ended = start({"station", verb, "--ledger", ledger()});
      if (ended.code == 12 && excuse != nullptr && ended.err.contains(excuse)) {
        ++counts.unreadable;
      } else if (ended.code != 0) {
        breach(QStringLiteral("station %1 cannot read the ledger").arg(verb), ended);
      }
    }
  }

  void judge(const Ended& ended) {
    simulator::loadScenario(QStringLiteral(R"({"stateFile": "%1"})").arg(state_).toStdString());
    simulator::useVirtualTime();
    const Unit unit = ShiftBench::look();
    simulator::reset();
    const auto opened = station::Ledger::open(ledger(), station::LedgerAccess::kRead);
    const auto known = opened ? opened->unit(QString::fromLatin1(unit.serial)) : tl::make_unexpected(opened.error());
    if (!known) {
      return breach("the ledger: " + known.error().message, ended);
    }
    if (!known->hasPassed) {
      return breach("the unit did not pass in the end", ended);
    }
    ++counts.passed;
    if (!unit.captureFlash.startsWith(bench_.captureImage) || unit.edid != bench_.table) {
      return breach("a unit passed that is wrong", ended);
    }
    if (known->keySha256 != sha256(unit.key) || !keys_.insert(unit.key).second ||
        !serials_.insert(unit.serial).second) {
      breach("a key or a serial number that is not this unit's alone", ended);
    }
  }

  void breach(const QString& what, const Ended& ended) {
    ++counts.breaches;
    std::printf("breach: unit %s: %s: code %d\n%s%s\n", qPrintable(number_), qPrintable(what), ended.code,
                ended.out.constData(), ended.err.constData());
  }

  ShiftBench bench_;
  SeededRandom random_;
  QString jobFile_;
  QString state_;
  QString number_;
  std::optional<MountedDisk> disk_;
  std::set<QByteArray> keys_;
  std::set<QByteArray> serials_;
};

}  // namespace

int main(int argc, char** argv) {
  if (const QString reason = enterOwnMounts(); !reason.isEmpty()) {
    std::printf("skipped: %s\n", qPrintable(reason));
    return kSkipped;
  }
  const QCoreApplication application(argc, argv);
  const unsigned count = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 200;
  const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
  Campaign campaign(seed);
  for (unsigned number = 1; number <= count; ++number) {
    campaign.doUnit(number);
  }
  campaign.finishDisk();
  const Counts& counts = campaign.counts;
  std::printf(
      "%s: %u units, seed %u: %u full disks (%u of them before the unit), %u looks without room for them, %u with room "
      "enough, %u read-only; %u "
      "resumed, "
      "%u passed, %u breaches\n",
      counts.breaches == 0 ? "good" : "BAD", count, seed, counts.full, counts.fullAtStart, counts.unreadable,
      counts.hadRoom, counts.readOnly, counts.resumed, counts.passed, counts.breaches);
  return counts.breaches == 0 && counts.passed == count && count > 0 ? 0 : 1;
}
