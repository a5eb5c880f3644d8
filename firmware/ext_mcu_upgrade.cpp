#include "firmware/ext_mcu_upgrade.h"

#include "device/boot_packet.h"
#include "device/prompt_sleep.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>

namespace firmware {
namespace {

using device::BootCommand;
using device::BootPacket;
using namespace std::chrono_literals;

struct Family {
  std::uint8_t code;
  std::size_t packetsPerBlock;
  std::uint32_t firstAddress;

  constexpr std::size_t blockSize() const { return packetsPerBlock * device::kBootPayloadSize; }
};

constexpr auto kFamilies = std::to_array<Family>({
    {0x32, 16, 0x0800'5000},
    {0x76, 2, 0x0000'0000},
});

constexpr int kAttempts = 10;
constexpr auto kResetPause = 1000ms;
constexpr auto kControlPacketPause = 50ms;  // time for the boot loader to process it

std::optional<Family> familyAt(std::uint8_t slave) {
  const std::uint32_t code = device::readRegisterByte(device::kI2cBus, slave, device::kMcuFamilyRegister);
  const auto* const family = std::find_if(kFamilies.begin(), kFamilies.end(),
                                          [code](const Family& candidate) { return candidate.code == code; });
  return family == kFamilies.end() ? std::nullopt : std::optional(*family);
}

class Upgrade {
 public:
  Upgrade(std::span<const std::uint8_t> image, const device::Pause& pause, const UpgradeListener& listener,
          const UpgradeOptions& options)
      : image_(image), pause_(pause), listener_(listener), options_(options) {}

  UpgradeResult run() {
    std::optional<Family> family = familyAt(device::kMcuApplication);
    const bool inApplication = family.has_value();
    if (!inApplication) {
      family = familyAt(device::kMcuBootLoader);
    }
    if (!family) {
      result_.outcome = UpgradeOutcome::kNoKnownMcu;
      return result_;
    }
    const std::size_t blocks = (image_.size() + family->blockSize() - 1) / family->blockSize();
    listener_(McuFound{family->code, !inApplication, blocks});
    if ((!inApplication || enterBootLoader(blocks)) && start() && sendBlocks(*family, blocks)) {
      finish();
    }
    return result_;
  }

 private:
  enum class Verdict : std::uint8_t { kTaken, kRefused, kStopped };

  // Each step returns false once it has set the outcome: the upgrade ends there.

  bool end(UpgradeOutcome outcome) {
    result_.outcome = outcome;
    return false;
  }

  bool enterBootLoader(std::size_t blocks) {
    if (stopIsRequested()) {
      return end(UpgradeOutcome::kStopped);
    }
    listener_(StepBegun{UpgradeStep::kReset});
    if (!device::writeRegisterByte(device::kI2cBus, device::kMcuApplication, device::kMcuResetRegister, 0x01)) {
      return end(UpgradeOutcome::kResetFailed);
    }
    pause_(kResetPause);
    listener_(StepBegun{UpgradeStep::kSetBoot});
    if (!device::writeRegisterByte(device::kI2cBus, device::kMcuBootLoader, device::kBootStatusRegister, 0x01)) {
      return end(UpgradeOutcome::kSetBootFailed);
    }
    if (!waitUntilReady()) {
      return false;
    }
    listener_(BootLoaderEntered{blocks});
    return true;
  }

  // Ten times on purpose, also when the first packet is taken.
  bool start() {
    listener_(StepBegun{UpgradeStep::kStart});
    const BootPacket packet = device::bootPacket(BootCommand::kStart);
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      const Verdict verdict = send(packet, BootCommand::kStart, attempt);
      if (verdict == Verdict::kStopped) {
        return end(UpgradeOutcome::kStopped);
      }
      if (verdict == Verdict::kTaken) {
        if (!waitUntilReady()) {
          return false;
        }
      } else if (attempt == kAttempts - 1) {
        return end(UpgradeOutcome::kStartRefused);
      }
    }
    return true;
  }

  bool sendBlocks(const Family& family, std::size_t blocks) {
    listener_(StepBegun{UpgradeStep::kBlocks});
    std::uint32_t address = family.firstAddress;
    std::span<const std::uint8_t> rest = image_;
    for (std::size_t block = 0; block < blocks; ++block) {
      const BootPacket announcement = device::bootAddressPacket(address);
      if (!sendUntilTaken(announcement, BootCommand::kAddress, UpgradeOutcome::kAddressRefused) || !waitUntilReady()) {
        return false;
      }
      for (std::size_t i = 0; i < family.packetsPerBlock; ++i) {
        const auto piece = rest.first(std::min(rest.size(), device::kBootPayloadSize));
        rest = rest.subspan(piece.size());
        if (!sendData(piece) || !waitUntilReady()) {
          return false;
        }
      }
      address += static_cast<std::uint32_t>(family.blockSize());
      listener_(BlockSent{block, blocks});
    }
    return true;
  }

  bool sendData(std::span<const std::uint8_t> piece) {
    switch (send(device::bootPacket(BootCommand::kData, piece), BootCommand::kData, 0)) {
      case Verdict::kTaken:
        return true;
      case Verdict::kRefused:
        return end(UpgradeOutcome::kDataRefused);
      case Verdict::kStopped:
        break;
    }
    return end(UpgradeOutcome::kStopped);
  }

  void finish() {
    listener_(StepBegun{UpgradeStep::kFinish});
    const BootPacket packet = device::bootPacket(BootCommand::kFinish);
    if (sendUntilTaken(packet, BootCommand::kFinish, UpgradeOutcome::kFinishRefused)) {
      waitUntilReady();
    }
  }

  bool sendUntilTaken(const BootPacket& packet, BootCommand command, UpgradeOutcome ifRefused) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      switch (send(packet, command, attempt)) {
        case Verdict::kTaken:
          return true;
        case Verdict::kStopped:
          return end(UpgradeOutcome::kStopped);
        case Verdict::kRefused:
          break;
      }
    }
    return end(ifRefused);
  }

  // Only the checksum read back decides acceptance, whatever the transfer itself
  // reported.
  Verdict send(const BootPacket& packet, BootCommand command, int attempt) {
    if (stopIsRequested()) {
      return Verdict::kStopped;
    }
    const PacketAttempt sent{command, attempt, device::checksumOf(packet)};
    const bool transferred = device::writeRegisterBlock(device::kI2cBus, device::kMcuBootLoader, packet);
    if (command != BootCommand::kData) {
      pause_(kControlPacketPause);
    }
    const bool repeated = previousChecksum_ == sent.checksum;
    previousChecksum_ = sent.checksum;

    std::uint32_t computed = device::readBootChecksum();
    for (int again = 1; options_.requireChecksum && computed == device::kReadFailed && again < kAttempts; ++again) {
      pause_(kControlPacketPause);
      computed = device::readBootChecksum();
    }
    const bool read = computed != device::kReadFailed;
    const bool proven = read && (transferred || !repeated);
    const bool taken = device::packetChecksumMatches(computed, sent.checksum) && (proven || !options_.requireChecksum);
    note(sent, read, repeated, taken);
    return taken ? Verdict::kTaken : Verdict::kRefused;
  }

  void note(const PacketAttempt& sent, bool read, bool repeated, bool taken) {
    if (!read) {
      listener_(PacketUnverified{sent, taken});
    }
    if (!taken) {
      listener_(PacketRefused{sent});
      return;
    }
    ++result_.packets;
    result_.unverifiedPackets += read ? 0 : 1;
    if (repeated) {
      ++result_.repeatedChecksums;
      listener_(ChecksumRepeated{sent});
    }
  }

  bool waitUntilReady() { return device::waitForBootLoaderReady(pause_) || end(UpgradeOutcome::kNotReady); }

  bool stopIsRequested() const { return options_.stopRequested && options_.stopRequested(); }

  std::span<const std::uint8_t> image_;
  const device::Pause& pause_;
  const UpgradeListener& listener_;
  const UpgradeOptions& options_;
  UpgradeResult result_;
  std::optional<std::uint8_t> previousChecksum_;
};

UpgradeResult upgrade(std::span<const std::uint8_t> image, bool connected, const device::Pause& pause,
                      const UpgradeListener& listener, const UpgradeOptions& options) {
  if (image.empty()) {
    return {.outcome = UpgradeOutcome::kNoImage};
  }
  if (!connected) {
    return {.outcome = UpgradeOutcome::kNotConnected};
  }
  const device::PromptSleep promptSleep;
  return Upgrade(image, pause, listener, options).run();
}

}  // namespace

UpgradeResult upgradeExtMcu(std::span<const std::uint8_t> image, bool connected, const device::Pause& pause,
                            const UpgradeListener& listener, const UpgradeOptions& options) {
  listener(UpgradeBegun{});
  const UpgradeResult result = upgrade(image, connected, pause, listener, options);
  listener(UpgradeEnded{result.outcome});
  return result;
}

}  // namespace firmware
