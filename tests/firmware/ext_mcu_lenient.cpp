#include "device/RTICE_SDK_x64.h"
#include "device/boot_packet.h"
#include "device/ext_mcu_channel.h"
#include "firmware/ext_mcu_upgrade.h"
#include "firmware/upgrade_texts.h"
#include "tests/support/seeded_random.h"
#include "tests/support/upgrade_images.h"

#include <QString>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <numeric>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

using namespace std::chrono_literals;

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr char kSuccess[] = "MCU Update Done...[Success]";

/// Faults of the bus and the boot loader, per thousand.
struct Rates {
  std::uint32_t damage = 0;     // of packets: one bit arrives flipped
  std::uint32_t loss = 0;       // of packets: nothing arrives, and the write fails
  std::uint32_t lostReply = 0;  // of packets: it arrives, but the write fails
  std::uint32_t badRead = 0;    // of reads: fails
  std::uint32_t longWork = 0;   // of packets: keeps the boot loader busy longer than the host waits
  bool dataIsSafe = false;      // only other packets are affected
};

/// A boot loader that trusts everything: it checks neither checksums nor the order of
/// packets, accepts blocks of any length, and loses packets that arrive while it is
/// busy. Only the host can detect an error.
class LenientMcu {
 public:
  LenientMcu(bool family2, bool inApplication, const Rates& rates, SeededRandom& random)
      : code_(family2 ? 0x32 : 0x76),
        firstAddress_(family2 ? 0x0800'5000 : 0),
        inApplication_(inApplication),
        rates_(rates),
        random_(random) {}

  bool write(std::uint8_t slave, Bytes bytes) {
    if (slave == device::kMcuApplication) {
      const bool isReset = inApplication_ && bytes.size() == 2 && bytes[0] == device::kMcuResetRegister;
      inApplication_ = inApplication_ && !isReset;
      return isReset;
    }
    if (inApplication_) {
      return false;
    }
    return bytes.size() != device::kBootPacketSize || receive(bytes);
  }

  bool read(std::uint8_t slave, std::uint8_t index, std::uint8_t& value) {
    const bool answers = inApplication_ == (slave == device::kMcuApplication);
    const bool failed = !answers || chance(rates_.badRead);
    if (!failed) {
      value = index == 0x00 ? code_ : index == 0x01 ? static_cast<std::uint8_t>(now_ >= busyUntil_) : checksum_;
    }
    if (index == 0x02) {
      wasAccepted_ = (failed ? 0xFF : checksum_) == sentChecksum_;
      isExcused_ = isExcused_ || (wasAccepted_ && !arrivedWell_);
    }
    return !failed;
  }

  void pass(std::chrono::milliseconds time) { now_ += time; }

  bool holds(Bytes image) const { return std::equal(image.begin(), image.end(), flash_.begin()); }
  bool isFinished() const { return isFinished_; }
  /// Whether a packet was lost although the checksum read back matched: that of the
  /// previous packet, the 0xFF of a failed read, or its own if it was sent again while
  /// the boot loader was still busy with the damaged one.
  bool isExcused() const { return isExcused_; }

 private:
  bool chance(std::uint32_t rate) { return random_.below(1000) < rate; }

  bool receive(Bytes packet) {
    sentChecksum_ = packet.back();
    arrivedWell_ = false;
    const bool isSafe = rates_.dataIsSafe && packet[2] == 0xA3;
    if (!isSafe && chance(rates_.loss)) {
      return false;
    }
    std::vector<std::uint8_t> arrived(packet.begin(), packet.end());
    const bool isDamaged = !isSafe && chance(rates_.damage);
    if (isDamaged) {
      arrived[random_.below(static_cast<std::uint32_t>(arrived.size()))] ^=
          static_cast<std::uint8_t>(1U << random_.below(8));
    }
    if (arrived[0] == 0) {
      checksum_ = static_cast<std::uint8_t>(std::accumulate(arrived.begin() + 1, arrived.end() - 1, 0U));
      // A host that did not wait has no excuse, except when it resends a packet: then
      // the protocol does not wait.
      arrivedWell_ = now_ < busyUntil_ ? wasAccepted_ : !isDamaged;
      if (now_ >= busyUntil_) {
        take(arrived);
        // Sometimes longer than the host's pause after a packet.
        const std::uint32_t most = chance(50) ? 200 : 8;
        busyUntil_ = now_ + (chance(rates_.longWork) ? 2000ms : std::chrono::milliseconds(random_.below(most)));
      }
    }
    return !chance(rates_.lostReply);
  }

  void take(Bytes packet) {
    const Bytes payload = packet.subspan(3, device::kBootPayloadSize);
    switch (packet[2]) {
      case 0xA1:
        isUnlocked_ = true;
        std::fill(flash_.begin(), flash_.end(), std::uint8_t{0xFF});
        break;
      case 0xA2:
        place_ = std::accumulate(payload.begin(), payload.begin() + 4, std::uint32_t{0},
                                 [](std::uint32_t sum, std::uint8_t byte) { return sum << 8U | byte; }) -
                 firstAddress_;
        break;
      case 0xA3:
        if (isUnlocked_ && place_ <= flash_.size() - payload.size()) {
          std::copy(payload.begin(), payload.end(), flash_.begin() + static_cast<std::ptrdiff_t>(place_));
        }
        place_ += static_cast<std::uint32_t>(payload.size());
        break;
      case 0xA4:
        isFinished_ = true;
        break;
      default:
        break;
    }
  }

  std::uint8_t code_;
  std::uint32_t firstAddress_;
  bool inApplication_;
  Rates rates_;
  SeededRandom& random_;
  std::vector<std::uint8_t> flash_ = std::vector<std::uint8_t>(std::size_t{64} * 1024, 0x55);
  std::uint32_t place_ = 0;
  std::uint8_t checksum_ = 0;
  std::uint8_t sentChecksum_ = 0;
  bool arrivedWell_ = true;
  bool wasAccepted_ = true;  // whether the host accepted the previous packet
  bool isUnlocked_ = false;
  bool isFinished_ = false;
  bool isExcused_ = false;
  std::chrono::milliseconds now_{};
  std::chrono::milliseconds busyUntil_{};
};

LenientMcu* mcu = nullptr;

}  // namespace

// These take precedence over the simulated device's functions.
extern "C" {
int32_t AT_System_Send_ExternalMCU_cmd(uint8_t /*bus*/, uint8_t slave, uint16_t length, const uint8_t* data) {
  return mcu->write(slave, {data, length}) ? 0 : -1;
}

int32_t AT_System_Get_ExternalMCU_cmd(uint8_t /*bus*/, uint8_t slave, unsigned int /*writeLength*/,
                                      const uint8_t* writeData, unsigned int /*readLength*/, uint8_t* readBuffer) {
  return mcu->read(slave, *writeData, *readBuffer) ? 0 : -1;
}
}

namespace {

struct Outcome {
  std::string lastText;
  bool isWrong = false;  // success was reported, but the flash differs or the upgrade was not finished
  bool isExcused = false;
};

Outcome upgradeOnce(std::uint32_t seed, std::uint32_t number) {
  SeededRandom random{seed, number};
  const bool family2 = random.chance(50);
  std::vector<std::uint8_t> image = upgrade_images::randomImage(1 + random.below(4000), random);
  const auto rate = [&random] { return random.chance(40) ? random.below(60) : 0; };
  Rates rates{rate(), rate(), rate(), rate(), random.chance(10) ? random.below(30) : 0, random.chance(40)};
  if (rates.dataIsSafe) {
    rates.damage *= 4;
    rates.loss *= 4;
  }
  if (random.chance(5)) {
    rates.loss = 950;
  }
  LenientMcu device(family2, random.chance(50), rates, random);
  mcu = &device;
  Outcome outcome;
  int pausesLeft = 200'000;
  firmware::upgradeExtMcu(
      image, true,
      [&device, &pausesLeft](std::chrono::milliseconds time) {
        if (--pausesLeft == 0) {
          throw std::runtime_error("an upgrade does not end");
        }
        device.pass(time);
      },
      [&outcome](const firmware::UpgradeEvent& event) {
        for (const QString& text : firmware::windowTexts(event)) {
          outcome.lastText = text.toStdString();
        }
      });
  const bool isGood = device.isFinished() && device.holds(upgrade_images::padded(image, family2 ? 1024 : 128));
  outcome.isWrong = outcome.lastText == kSuccess && !isGood;
  outcome.isExcused = device.isExcused();
  return outcome;
}

std::string kindOf(const std::string& text) {
  std::string kind = text;
  kind.erase(0, kind.find_first_not_of("0123456789"));
  const std::size_t number = kind.find("] ");  // the checksum that was wanted
  return number == std::string::npos ? kind : kind.substr(0, number + 1);
}

}  // namespace

/// Usage: ext_mcu_lenient COUNT SEED. Upgrades an MCU COUNT times over a faulty bus, in
/// virtual time, and prints the outcomes. Its boot loader checks nothing, so only the
/// program's checks keep a bad image from being reported as good. Exit code 1 if success
/// was reported for a wrong or unfinished flash although the program could have known.
int main(int argc, char* argv[]) try {
  const unsigned long count = argc == 3 ? std::strtoul(argv[1], nullptr, 10) : 0;
  const unsigned long seed = argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 0;
  if (count == 0) {
    std::fprintf(stderr, "usage: %s COUNT SEED\n", argv[0]);
    return 2;
  }
  std::map<std::string, unsigned> outcomes;
  unsigned excused = 0;
  unsigned wrong = 0;
  for (unsigned long number = 0; number < count; ++number) {
    const Outcome outcome = upgradeOnce(static_cast<std::uint32_t>(seed), static_cast<std::uint32_t>(number));
    ++outcomes[kindOf(outcome.lastText)];
    excused += outcome.isWrong && outcome.isExcused ? 1 : 0;
    if (outcome.isWrong && !outcome.isExcused) {
      ++wrong;
      std::printf("upgrade %lu: success reported, but the flash differs\n", number);
    }
  }
  std::printf("boot loader that checks nothing, seed %lu, %lu upgrades; last text shown:\n", seed, count);
  for (const auto& [text, times] : outcomes) {
    std::printf("%8u  %s\n", times, text.c_str());
  }
  const unsigned successes = outcomes[kSuccess];
  std::printf("%8u  of %u successes were false, as a lost packet's checksum looked right (%.2f %%)\n", excused,
              successes, successes == 0 ? 0.0 : 100.0 * excused / successes);
  const bool isEnough = successes * 5 > count && successes < count;
  const bool good = wrong == 0 && isEnough;
  std::printf("%s: %u false successes that the checks should have seen%s\n", good ? "good" : "BAD", wrong,
              isEnough ? "" : "; too few successes or too few failures to tell");
  return good ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 2;
}
