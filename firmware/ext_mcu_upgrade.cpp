#include "firmware/ext_mcu_upgrade.h"

#include "device/boot_packet.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <optional>

namespace firmware {
namespace {

using device::BootCommand;
using device::BootPacket;
using namespace std::chrono_literals;

struct Family {
  std::uint32_t code;
  std::size_t packetsPerBlock;
  std::uint32_t firstAddress;

  constexpr std::size_t blockSize() const { return packetsPerBlock * device::kBootPayloadSize; }
};

constexpr std::array<Family, 2> kFamilies{{
    {0x32, 16, 0x0800'5000},
    {0x76, 2, 0x0000'0000},
}};

constexpr int kAttempts = 10;
constexpr auto kResetPause = 1000ms;
constexpr auto kControlPacketPause = 50ms;  // the boot loader digests it

std::optional<Family> familyAt(std::uint8_t slave) {
  const std::uint32_t code = device::readRegisterByte(device::kI2cBus, slave, device::kMcuFamilyRegister);
  const auto* const family = std::find_if(kFamilies.begin(), kFamilies.end(),
                                          [code](const Family& candidate) { return candidate.code == code; });
  return family == kFamilies.end() ? std::nullopt : std::optional(*family);
}

class Upgrade {
 public:
  Upgrade(std::span<const std::uint8_t> image, const device::Pause& pause, const Report& report)
      : image_(image), pause_(pause), report_(report) {}

  void run() {
    std::optional<Family> family = familyAt(device::kMcuApplication);
    const bool inApplication = family.has_value();
    if (!inApplication) {
      family = familyAt(device::kMcuBootLoader);
    }
    if (!family) {
      return;
    }
    const std::size_t blocks = (image_.size() + family->blockSize() - 1) / family->blockSize();
    if ((!inApplication || enterBootLoader(blocks)) && start() && sendBlocks(*family, blocks)) {
      finish();
    }
  }

 private:
  // Each step says whether the upgrade goes on; if not, it has told why.

  bool enterBootLoader(std::size_t blocks) {
    if (!device::writeRegisterByte(device::kI2cBus, device::kMcuApplication, device::kMcuResetRegister, 0x01)) {
      report_(QStringLiteral("Error Reset MCU ..."));
      return false;
    }
    pause_(kResetPause);
    if (!device::writeRegisterByte(device::kI2cBus, device::kMcuBootLoader, device::kBootStatusRegister, 0x01)) {
      report_(QStringLiteral("Error set boot mode ..."));
      return false;
    }
    if (!waitUntilReady()) {
      return false;
    }
    report_(QStringLiteral("MCU into boot"));
    report_(QStringLiteral("Update Count%1...").arg(blocks));
    return true;
  }

  // Ten times on purpose, also when the first packet is taken.
  bool start() {
    const BootPacket packet = device::bootPacket(BootCommand::kStart);
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      if (sendControlPacket(packet)) {
        if (!waitUntilReady()) {
          return false;
        }
        continue;
      }
      report_(QStringLiteral("%1Error MCU checksum...[1]").arg(attempt));
      if (attempt == kAttempts - 1) {
        return false;
      }
    }
    return true;
  }

  bool sendBlocks(const Family& family, std::size_t blocks) {
    std::uint32_t address = family.firstAddress;
    std::span<const std::uint8_t> rest = image_;
    for (std::size_t block = 0; block < blocks; ++block) {
      if (!sendAddress(address) || !waitUntilReady()) {
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
      report_(QStringLiteral("Update %1%...").arg(block * 100 / blocks));
    }
    return true;
  }

  bool sendAddress(std::uint32_t address) {
    const BootPacket packet = device::bootAddressPacket(address);
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      if (sendControlPacket(packet)) {
        return true;
      }
      report_(QStringLiteral("%1Error MCU Addr checksum...[2] %2").arg(attempt).arg(device::checksumOf(packet)));
    }
    return false;
  }

  bool sendData(std::span<const std::uint8_t> piece) {
    const BootPacket packet = device::bootPacket(BootCommand::kData, piece);
    send(packet);
    if (!device::packetChecksumMatches(device::checksumOf(packet))) {
      report_(QStringLiteral("Error MCU data checksum...[fail]"));
      return false;
    }
    return true;
  }

  void finish() {
    const BootPacket packet = device::bootPacket(BootCommand::kFinish);
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      if (sendControlPacket(packet)) {
        if (waitUntilReady()) {
          report_(QStringLiteral("MCU Update Done...[Success]"));
        }
        return;
      }
      // The address wording is the one that operators know.
      report_(QStringLiteral("Error MCU Addr checksum...[3]"));
    }
  }

  // A packet counts by the checksum read back alone, whatever its transfer
  // reported.
  static void send(const BootPacket& packet) {
    device::writeRegisterBlock(device::kI2cBus, device::kMcuBootLoader, packet);
  }

  bool sendControlPacket(const BootPacket& packet) {
    send(packet);
    pause_(kControlPacketPause);
    return device::packetChecksumMatches(device::checksumOf(packet));
  }

  bool waitUntilReady() {
    if (!device::waitForBootLoaderReady(pause_)) {
      report_(QStringLiteral("Error MCU status...[fail]"));
      return false;
    }
    return true;
  }

  std::span<const std::uint8_t> image_;
  const device::Pause& pause_;
  const Report& report_;
};

}  // namespace

void upgradeExtMcu(std::span<const std::uint8_t> image, bool connected, const device::Pause& pause,
                   const Report& report) {
  report(QStringLiteral("Start..."));
  if (image.empty()) {
    report(QStringLiteral("Error No file...[fail]"));
    return;
  }
  if (!connected) {
    return;
  }
  Upgrade(image, pause, report).run();
}

}  // namespace firmware
