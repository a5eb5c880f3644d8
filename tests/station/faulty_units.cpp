/// @file
/// Lying and flaky units: no wrong unit may pass.
/// Usage: station_faulty_units [COUNT [SEED]]
#include "station/ledger_verify.h"
#include "tests/station/shift_bench.h"
#include "tests/support/faults.h"
#include "tests/support/seeded_random.h"

#include <QCoreApplication>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace {

/// The kind of unit, which decides what a PASS must guarantee.
enum class Nature {
  kLiesWhereItShows,  ///< damages and drops data that can be read back or has a checksum
  kFlaky,             ///< calls fail and the plug comes loose, but no answer is wrong
  kLiesAnywhere,      ///< also about the key and the capture flash, which cannot be read
};

struct Counts {
  unsigned passed = 0;
  unsigned others = 0;
  unsigned wrong = 0;      // passed, but something readable is wrong
  unsigned invisible = 0;  // passed, but the key or the capture flash is wrong, which cannot be read
};

void addLies(SeededRandom& random) {
  static constexpr std::array<unsigned, 6> kRates{0, 1, 5, 20, 50, 100};
  const std::uint64_t seed = random.below(1'000'000'000);
  const unsigned misread = kRates[random.below(kRates.size())];
  const unsigned shortRead = kRates[random.below(kRates.size())];
  // An upgrade has hundreds of packets, and each must arrive.
  const unsigned damage = kRates[random.below(4)];
  const unsigned ignored = kRates[random.below(4)];
  simulator::setTransferFaults(
      {faults::misread(misread), faults::shortRead(shortRead), faults::damage(damage), faults::ignored(ignored)}, seed);
}

void addFlakiness(SeededRandom& random) {
  static constexpr std::array kOperations{"AT_USB_Set_SerialNum",
                                          "AT_USB_Get_SerialNum",
                                          "AT_Get_Customer_Ver",
                                          "AT_EDID_Flash_Set_table",
                                          "AT_EDID_Flash_Get_table",
                                          "AT_EDID_Set_EDID_mode",
                                          "burnHDCP",
                                          "burnToFlash",
                                          "AT_Set_System_Reboot",
                                          "AT_Get_UVC_Name",
                                          "AT_EDID_Get_EDID_mode"};
  const unsigned faults = 1 + random.below(4);
  for (unsigned i = 0; i < faults; ++i) {
    simulator::Fault fault;
    fault.first = 1 + random.below(20);
    fault.count = random.oneOf({1U, 2U, 3U, 8U});
    if (random.chance(30)) {
      fault.at = simulator::FaultPoint::kCall;
      fault.first = 1 + random.below(600);
      fault.count = 1;
      fault.what = simulator::FaultEffect::kUnplug;
      fault.delay = std::chrono::milliseconds(random.oneOf({5U, 500U, 3000U, 20'000U}));
    } else if (random.chance(40)) {
      fault.at = random.oneOf({simulator::FaultPoint::kMcuTransfer, simulator::FaultPoint::kMcuPacket,
                               simulator::FaultPoint::kMcuData, simulator::FaultPoint::kMcuFinish});
      fault.what = random.oneOf({simulator::FaultEffect::kNotAcknowledged, simulator::FaultEffect::kLost});
    } else {
      fault.operation = kOperations[random.below(kOperations.size())];
      fault.status = -100;
    }
    simulator::addFault(fault);
  }
}

class Campaign {
 public:
  Campaign(int count, unsigned seed) : random_({seed}) { bench_.makeKeys(count * 2 + 10); }

  void doUnit(int number) {
    const Nature nature = static_cast<Nature>(number % 3);
    bench_.job = whole_;
    bench_.job["serial"] = QJsonObject{{"from", "scan"}};
    if (nature == Nature::kLiesWhereItShows) {
      bench_.job.remove("capture");
      bench_.job.remove("keys");
    }
    const QStringList steps = nature == Nature::kLiesWhereItShows
                                  ? QStringList{"serial", "mcu", "edid"}
                                  : QStringList{"serial", "mcu", "capture", "key", "edid"};
    QJsonArray planned;
    for (const QString& step : steps) {
      planned.append(ShiftBench::step(step, 3));
    }
    bench_.job["steps"] = planned;
    QByteArray serial = "SN" + QByteArray::number(number);
    bench_.plugInUnits(1);
    nature == Nature::kFlaky ? addFlakiness(random_) : addLies(random_);
    bench_.cli.answers = QStringList(serial);
    bench_.beforeLook = [] { simulator::setTransferFaults({}); };
    const auto result = bench_.run({"--count", "1"});
    Counts& of = counts[nature];
    if (!result.err.contains("PASS  ")) {
      ++of.others;
      return;
    }
    ++of.passed;
    judge(of, nature, bench_.units.empty() ? Unit() : bench_.units.back(), serial, result.err);
  }

  bool isVerified() const {
    const auto verified = station::verifyLedger(bench_.ledgerFile());
    return verified && verified->found.isEmpty();
  }

  std::map<Nature, Counts> counts;

 private:
  void judge(Counts& of, Nature nature, Unit unit, const QByteArray& serial, const QByteArray& text) {
    const bool hasAll = nature != Nature::kLiesWhereItShows;
    const bool isKeyWhole = !hasAll || isAKey(unit.key);
    const bool isCaptureWhole = !hasAll || unit.captureFlash.startsWith(bench_.captureImage);
    if (nature != Nature::kFlaky) {
      of.invisible += isKeyWhole && isCaptureWhole ? 0 : 1;
      unit.key = ShiftBench::key(1);
      unit.captureFlash = bench_.captureImage;
    } else if (!isKeyWhole) {
      unit.key.clear();
    }
    if (const QString mistake = bench_.mistakeIn(unit, serial); !mistake.isEmpty()) {
      ++of.wrong;
      std::printf("breach: %s passed, but: %s\n%s\n", serial.constData(), qPrintable(mistake), text.constData());
    }
  }

  bool isAKey(const QByteArray& key) const {
    QDir folder(bench_.cli.path("keys"));
    for (const QString& name : folder.entryList(QDir::Files)) {
      QFile file(folder.filePath(name));
      if (file.open(QIODevice::ReadOnly) && file.readAll() == key) {
        return true;
      }
    }
    return false;
  }

  ShiftBench bench_;
  QJsonObject whole_ = bench_.job;
  SeededRandom random_;
};

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const int count = argc > 1 ? std::atoi(argv[1]) : 2000;
  const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
  Campaign campaign(count, seed);
  for (int number = 1; number <= count; ++number) {
    campaign.doUnit(number);
  }
  static constexpr std::array kNames{"lies where it shows", "flaky", "lies anywhere"};
  unsigned wrong = 0;
  unsigned passed = 0;
  std::printf("%-20s %7s %7s %13s %26s\n", "units", "PASS", "other", "PASS, wrong", "PASS, wrong where none sees");
  for (const auto& [nature, of] : campaign.counts) {
    std::printf("%-20s %7u %7u %13u %26u\n", kNames[static_cast<std::size_t>(nature)], of.passed, of.others, of.wrong,
                of.invisible);
    wrong += of.wrong;
    passed += of.passed;
  }
  const bool isVerified = campaign.isVerified();
  std::printf("%s: %d units, seed %u: %u passed, %u of them wrong; ledger %s\n",
              wrong == 0 && isVerified ? "good" : "BAD", count, seed, passed, wrong,
              isVerified ? "verified" : "NOT verified");
  return wrong == 0 && isVerified && passed > 0 ? 0 : 1;
}
