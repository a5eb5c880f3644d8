/// @file
/// Many good units in one process, in virtual time: all records are correct, memory and
/// file handles do not grow, and it takes hardly longer than the device itself.
/// Usage: station_many_units [COUNT [SEED]]
#include "edid/edid_calls.h"
#include "firmware/capture_burn.h"
#include "firmware/ext_mcu_upgrade.h"
#include "firmware/provisioning_calls.h"
#include "session/identity_calls.h"
#include "station/ledger_verify.h"
#include "tests/station/shift_bench.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <tuple>

namespace {

// Sanitizers keep freed memory for a while.
#if defined(PELLAVOX_SANITIZED)
constexpr bool kMemoryCounts = false;
#else
constexpr bool kMemoryCounts = true;
#endif

using std::chrono::nanoseconds;

double seconds(nanoseconds time) { return std::chrono::duration<double>(time).count(); }

std::span<const std::uint8_t> spanOf(const QByteArray& bytes) {
  return {reinterpret_cast<const std::uint8_t*>(bytes.constData()), static_cast<std::size_t>(bytes.size())};
}

/// How long a unit takes if the operations are simply called in sequence.
nanoseconds deviceTime(ShiftBench& bench) {
  bench.plugInUnits(1);
  const auto start = simulator::now();
  initialize();
  setDevice(0, 0, 0x5C19, 0x6B03);
  openPort();
  const auto pause = [](std::chrono::milliseconds time) { simulator::advanceTime(time); };
  std::ignore = firmware::setSerialNumber("LN000001");
  firmware::upgradeExtMcu(spanOf(bench.mcuImage), true, pause, [](const auto&) {});
  // The boot loader waits before it starts new firmware.
  while (!session::readMcuVersion()) {
    simulator::advanceTime(std::chrono::milliseconds(1));
  }
  std::ignore = firmware::burnCapture(bench.cli.path("capture.img"), [](float) {});
  std::ignore = firmware::burnKey(bench.cli.path("keys/key-00001.bin"));
  std::ignore = edid::writeFlashTable(2, spanOf(bench.table));
  std::ignore = edid::setMode(3);
  std::ignore = edid::setDefaultSlot(2);
  std::ignore = firmware::reboot();
  while (!edid::readMode()) {
    simulator::advanceTime(std::chrono::milliseconds(1));
  }
  closePort();
  uninitialize();
  return simulator::now() - start;
}

struct Use {
  long residentKiB = 0;
  int files = 0;
};

/// The resources that this process uses, where the system reports them.
Use useNow() {
  Use use;
#ifdef __linux__
  QFile status("/proc/self/status");
  if (status.open(QIODevice::ReadOnly)) {
    for (const QByteArray& line : status.readAll().split('\n')) {
      if (line.startsWith("VmRSS:")) {
        use.residentKiB = line.mid(6).simplified().split(' ').first().toLong();
      }
    }
  }
  use.files = QDir("/proc/self/fd").entryList(QDir::NoDotAndDotDot | QDir::System | QDir::AllEntries).size();
#endif
  return use;
}

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const int count = argc > 1 ? std::atoi(argv[1]) : 1000;
  ShiftBench bench;
  bench.makeKeys(count);
  const nanoseconds own = deviceTime(bench);

  bench.plugInUnits(count);
  const int early = std::max(1, count / 10);
  std::set<QByteArray> keys;
  Use atFirst;
  int wrong = 0;
  int results = 0;
  nanoseconds longest{};
  nanoseconds plugged = simulator::now();
  bench.onUnit = [&](const Unit& unit) {
    ++results;
    longest = std::max(longest, simulator::now() - plugged);
    const QByteArray serial = "LN" + QByteArray::number(results).rightJustified(6, '0');
    if (const QString mistake = bench.mistakeIn(unit, serial); !mistake.isEmpty() || !keys.insert(unit.key).second) {
      ++wrong;
      std::printf("breach: %s: %s\n", serial.constData(), qPrintable(mistake));
    }
    simulator::clearJournal();
    if (results == early) {
      atFirst = useNow();
    }
  };
  bench.onPlugged = [&] { plugged = simulator::now(); };
  const auto result = bench.run({"--count", QString::number(count)});
  const Use atLast = useNow();
  const auto verified = station::verifyLedger(bench.ledgerFile());
  const bool isVerified = verified && verified->found.isEmpty();
  const double ratio = seconds(longest) / seconds(own);
  const long growth = atLast.residentKiB - atFirst.residentKiB;
  const bool isFlat = (!kMemoryCounts || growth < 8192) && atLast.files <= atFirst.files;
  const bool isGood = result.code == 0 && wrong == 0 && results == count && isVerified && ratio <= 1.02 && isFlat;
  std::printf(
      "%s: %d units, %d results, %d wrong; ledger %s; slowest cycle %.3f s, device alone %.3f s, ratio %.4f; since "
      "unit %d: resident %+ld KiB, files %+d\n",
      isGood ? "good" : "BAD", count, results, wrong, isVerified ? "verified" : "NOT verified", seconds(longest),
      seconds(own), ratio, early, growth, atLast.files - atFirst.files);
  if (!isGood) {
    std::printf("%s\n", result.err.right(2000).constData());
  }
  return isGood ? 0 : 1;
}
