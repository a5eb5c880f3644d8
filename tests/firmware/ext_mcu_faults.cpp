#include "device/RTICE_SDK_x64.h"
#include "firmware/ext_mcu_upgrade.h"
#include "firmware/upgrade_texts.h"
#include "simulator/control/control.h"
#include "tests/support/seeded_random.h"
#include "tests/support/upgrade_images.h"

#include <QString>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

using simulator::FaultEffect;
using simulator::FaultPoint;
using namespace std::chrono_literals;

namespace {

constexpr char kSend[] = "AT_System_Send_ExternalMCU_cmd";
constexpr char kGet[] = "AT_System_Get_ExternalMCU_cmd";
// The boot loader must be up within the second that the host waits.
constexpr double kSlowest = 0.31;
constexpr char kSuccess[] = "MCU Update Done...[Success]";

// One upgrade, determined by its number and the seed.
class Run {
 public:
  Run(std::uint32_t seed, std::uint32_t number) : random_{seed, number} {}

  struct Outcome {
    std::string lastText;
    bool flashDiffers = false;
    bool notStarted = false;  // success shown although the boot loader keeps running
    unsigned unverified = 0;  // packets with checksum 0xFF accepted after a failed read
    bool recoveryTried = false;
    bool recovered = false;
  };

  Outcome go() {
    family2_ = random_.chance(50);
    blockSize_ = family2_ ? 1024 : 128;
    makeImage();
    openDevice();
    addFaults();

    Outcome outcome;
    outcome.lastText = upgrade();
    outcome.unverified = unverifiedPackets();
    if (outcome.lastText == kSuccess) {
      outcome.flashDiffers = !flashHoldsImage();
      simulator::advanceTime(5s);
      outcome.notStarted = !simulator::mcuRunsApplication();
    }

    // The same device without faults, after being plugged in again. A device too slow
    // for the protocol's pauses cannot be upgraded at all.
    outcome.recoveryTried = speedFactor_ >= kSlowest && faultsAreOver();
    if (outcome.recoveryTried) {
      simulator::clearMcuFaults();
      simulator::unplug();
      simulator::replug();
      simulator::advanceTime(5s);
      outcome.recovered = upgrade() == kSuccess && flashHoldsImage();
    }
    return outcome;
  }

 private:
  void makeImage() {
    std::size_t size = 1 + random_.below(3000);
    if (random_.chance(20)) {
      size = random_.oneOf<std::size_t>({1, 63, 64, 65, 127, 128, 129, 1023, 1024, 1025, 2048});
    } else if (random_.chance(2)) {
      size = 1 + random_.below(60'000);
    }
    image_ = upgrade_images::randomImage(size, random_);
  }

  void openDevice() {
    unplugAfter_ = random_.chance(10) ? 9 + random_.below(400) : 0;
    // One device in six is too slow to be upgraded at all.
    speedFactor_ = random_.chance(15) ? 0.1 + 0.01 * random_.below(20) : kSlowest + 0.01 * random_.below(500);
    char scenario[300];
    std::snprintf(scenario, sizeof scenario,
                  R"({"externalMcu": {"family": "%s", "mode": "%s"}, "speedFactor": %.3f, "latencyMs": %.2f%s%s})",
                  family2_ ? "2" : "v", random_.chance(80) ? "application" : "bootLoader", speedFactor_,
                  random_.chance(50) ? 0.0 : 0.01 * random_.below(300),
                  unplugAfter_ != 0 ? R"(, "unplugAfterCalls": )" : "",
                  unplugAfter_ != 0 ? std::to_string(unplugAfter_).c_str() : "");
    const std::string error = simulator::loadScenario(scenario);
    simulator::useVirtualTime();
    if (!error.empty() || initialize() != 0 || setDevice(0, 0, 0x5C19, 0x6B03) != 0 || openPort() != 0) {
      throw std::logic_error("cannot open the device: " + error);
    }
    pausesUntilReplug_ = random_.chance(50) ? 1 + random_.below(150) : 0;
  }

  void addFaults() {
    const std::size_t blocks = (image_.size() + blockSize_ - 1) / blockSize_;
    for (std::uint32_t i = random_.below(5); i > 0; --i) {
      if (random_.chance(30)) {
        addLibraryFault(static_cast<std::uint32_t>(40 + blocks * (4 + 3 * blockSize_ / 64)));
      } else {
        addFaultInMcu(static_cast<std::uint32_t>(blocks));
      }
    }
  }

  void addFaultInMcu(std::uint32_t blocks) {
    simulator::Fault fault;
    fault.at =
        random_.oneOf({FaultPoint::kMcuTransfer, FaultPoint::kMcuTransfer, FaultPoint::kMcuReset,
                       FaultPoint::kMcuSetBoot, FaultPoint::kMcuPacket, FaultPoint::kMcuStart, FaultPoint::kMcuAddress,
                       FaultPoint::kMcuData, FaultPoint::kMcuData, FaultPoint::kMcuFinish});
    const bool isPacket = fault.at >= FaultPoint::kMcuPacket;
    fault.what = isPacket ? random_.oneOf({FaultEffect::kNotAcknowledged, FaultEffect::kLost, FaultEffect::kDamage,
                                           FaultEffect::kMisread, FaultEffect::kBusy})
                          : random_.oneOf({FaultEffect::kNotAcknowledged, FaultEffect::kLost});
    if (fault.at == FaultPoint::kMcuSetBoot && random_.chance(30)) {
      fault.what = FaultEffect::kBusy;
    }
    const std::uint32_t packets = blocks * static_cast<std::uint32_t>(1 + blockSize_ / 64);
    const std::uint32_t range = fault.at == FaultPoint::kMcuTransfer  ? 40 + 4 * packets
                                : fault.at == FaultPoint::kMcuPacket  ? 11 + packets
                                : fault.at == FaultPoint::kMcuData    ? packets
                                : fault.at == FaultPoint::kMcuAddress ? blocks + 9
                                : isPacket                            ? 10
                                                                      : 1;
    fault.first = 1 + random_.below(range);
    fault.count = random_.chance(60) ? 1 : random_.chance(90) ? 1 + random_.below(12) : 0;
    fault.polls = random_.chance(80) ? 1 + random_.below(150) : 0;
    simulator::addFault(fault);
  }

  // The library itself may fail with any status or return garbage.
  void addLibraryFault(std::uint32_t calls) {
    const std::string operation = random_.chance(60) ? kGet : kSend;
    const std::uint32_t call = 1 + random_.below(calls);
    const std::int32_t status = random_.oneOf({-1, 1, -100, INT32_MIN, INT32_MAX});
    if (random_.chance(50)) {
      const std::uint32_t count = 1 + random_.below(3);
      simulator::failCall(operation, call, status, count);
      noteFaultyCall(operation, call + count - 1);
    } else {
      simulator::answerCall(operation, call, random_.chance(50) ? 0 : status,
                            {static_cast<std::uint8_t>(random_.below(256))});
      noteFaultyCall(operation, call);
    }
  }

  void noteFaultyCall(const std::string& operation, std::uint32_t call) {
    lastFaultyCall_[operation] = std::max(lastFaultyCall_[operation], call);
  }

  // Whether neither a library fault nor an unplugging is still to come.
  bool faultsAreOver() {
    std::map<std::string, std::uint32_t> calls;
    std::uint32_t all = 0;
    for (const simulator::JournalEntry& entry : simulator::journal()) {
      ++calls[entry.operation];
      ++all;
    }
    return all > unplugAfter_ && calls[kSend] >= lastFaultyCall_[kSend] && calls[kGet] >= lastFaultyCall_[kGet];
  }

  std::string upgrade() {
    // An upper limit for the pauses of any upgrade.
    const std::size_t blocks = (image_.size() + blockSize_ - 1) / blockSize_;
    std::size_t pausesLeft = 200 * (30 + blocks * (10 + blockSize_ / 64));
    std::string last;
    firmware::upgradeExtMcu(
        image_, true,
        [&](std::chrono::milliseconds time) {
          if (pausesLeft-- == 0) {
            throw std::runtime_error("the upgrade does not end");
          }
          simulator::advanceTime(time);
          if (pausesUntilReplug_ > 0 && --pausesUntilReplug_ == 0) {
            simulator::replug();
          }
        },
        [&last](const firmware::UpgradeEvent& event) {
          for (const QString& text : firmware::windowTexts(event)) {
            last = text.toStdString();
          }
        });
    return last;
  }

  bool flashHoldsImage() const {
    const std::vector<std::uint8_t> padded = upgrade_images::padded(image_, blockSize_);
    const std::vector<std::uint8_t> flash = simulator::mcuFlash();
    return std::equal(padded.begin(), padded.end(), flash.begin());
  }

  static unsigned unverifiedPackets() {
    unsigned count = 0;
    std::string packet;
    for (const simulator::JournalEntry& entry : simulator::journal()) {
      if (entry.operation == kSend) {
        packet = entry.arguments;
      } else if (entry.operation == kGet && entry.result != 0 && entry.arguments == "3, 0x43, 1, [02], 1") {
        count += packet.ends_with("FF]") ? 1 : 0;
      }
    }
    return count;
  }

  SeededRandom random_;
  bool family2_ = true;
  std::size_t blockSize_ = 0;
  std::vector<std::uint8_t> image_;
  std::uint32_t unplugAfter_ = 0;
  std::uint32_t pausesUntilReplug_ = 0;
  double speedFactor_ = 1;
  std::map<std::string, std::uint32_t> lastFaultyCall_;
};

// Texts such as "3Error MCU Addr checksum...[2] 86" count as one outcome.
std::string kindOf(const std::string& text) {
  std::string kind = text;
  kind.erase(0, kind.find_first_not_of("0123456789"));
  if (kind.starts_with("Error MCU Addr checksum...[2]")) {
    return "Error MCU Addr checksum...[2]";
  }
  return kind;
}

}  // namespace

/// Usage: ext_mcu_faults COUNT SEED. Upgrades a simulated MCU COUNT times in virtual
/// time, each time with different random faults, and prints the outcomes. Exit code 1
/// if an upgrade reported success although the flash differs from the image, did not
/// end, or left a device that a plain upgrade cannot repair.
int main(int argc, char* argv[]) try {
  const unsigned long count = argc == 3 ? std::strtoul(argv[1], nullptr, 10) : 0;
  const unsigned long seed = argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 0;
  if (count == 0) {
    std::fprintf(stderr, "usage: %s COUNT SEED\n", argv[0]);
    return 2;
  }

  std::map<std::string, unsigned> outcomes;
  unsigned falseSuccesses = 0;
  unsigned hangs = 0;
  unsigned notStarted = 0;
  unsigned unverified = 0;
  unsigned unverifiedRuns = 0;
  unsigned unverifiedSuccesses = 0;
  unsigned recoveriesTried = 0;
  unsigned recovered = 0;
  const auto start = std::chrono::steady_clock::now();
  for (unsigned long number = 0; number < count; ++number) {
    const auto complain = [number](const char* what) { std::printf("upgrade %lu: %s\n", number, what); };
    try {
      const Run::Outcome outcome = Run(static_cast<std::uint32_t>(seed), static_cast<std::uint32_t>(number)).go();
      ++outcomes[kindOf(outcome.lastText)];
      const bool success = outcome.lastText == kSuccess;
      unverified += outcome.unverified;
      unverifiedRuns += outcome.unverified > 0;
      unverifiedSuccesses += success && outcome.unverified > 0;
      notStarted += outcome.notStarted;
      recoveriesTried += outcome.recoveryTried;
      recovered += outcome.recovered;
      if (outcome.flashDiffers) {
        ++falseSuccesses;
        complain("success reported, but the flash differs");
      }
      if (outcome.recoveryTried && !outcome.recovered) {
        complain("a plain upgrade afterwards failed");
      }
    } catch (const std::runtime_error& error) {
      ++hangs;
      complain(error.what());
    }
  }
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;

  std::printf("seed %lu, %lu upgrades in %.1f s; last text shown:\n", seed, count, elapsed.count());
  for (const auto& [text, times] : outcomes) {
    std::printf("%8u  %s\n", times, text.c_str());
  }
  std::printf("%8u  packets with checksum 0xFF passed unverified, as their checksum could not be read;\n", unverified);
  std::printf("          in %u upgrades, of which %u reported success\n", unverifiedRuns, unverifiedSuccesses);
  std::printf("%8u  successes after which the boot loader kept running\n", notStarted);
  std::printf("%8u  of %u devices saved by a plain upgrade afterwards\n", recovered, recoveriesTried);
  const bool good = falseSuccesses == 0 && hangs == 0 && recovered == recoveriesTried;
  std::printf("%s: %u false successes, %u hangs\n", good ? "good" : "BAD", falseSuccesses, hangs);
  return good ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 2;
}
