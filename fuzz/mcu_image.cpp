/// @file
/// An image for the external MCU, sent to a simulated one without faults. First byte:
/// bit 0 selects the chip family, bit 1 that the MCU waits in its boot loader, bit 2
/// that no device is connected. The rest is the image.
#include "device/RTICE_SDK_x64.h"
#include "firmware/ext_mcu_upgrade.h"
#include "firmware/upgrade_texts.h"
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "simulator/control/control.h"
#include "tests/support/upgrade_reference.h"

#include <QStringList>

#include <algorithm>
#include <string>

namespace reference = upgrade_reference;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input({data, size});
  const std::uint8_t control = input.takeByte();
  const reference::Family& family = reference::kFamilies[control & 1];
  const bool inBootLoader = (control & 2) != 0;
  const bool connected = (control & 4) == 0;
  const std::span<const std::uint8_t> image = input.rest();

  const std::string error =
      simulator::loadScenario(std::string(R"({"externalMcu": {"family": ")") + family.code + R"(", "mode": ")" +
                              (inBootLoader ? "bootLoader" : "application") + "\"}}");
  simulator::useVirtualTime();
  fuzz::require(error.empty() && initialize() == 0 && setDevice(0, 0, 0x5C19, 0x6B03) == 0 && openPort() == 0,
                "the device can be opened");
  simulator::clearJournal();

  QStringList texts;
  firmware::upgradeExtMcu(
      image, connected, [](std::chrono::milliseconds time) { simulator::advanceTime(time); },
      [&texts](const firmware::UpgradeEvent& event) { texts << firmware::windowTexts(event); });

  if (image.empty() || !connected) {
    fuzz::require(texts.value(0) == QLatin1String("Start...") && texts.size() == (image.empty() ? 2 : 1),
                  "an upgrade that cannot start says so");
    fuzz::require(simulator::journal().empty(), "and sends nothing");
    return 0;
  }

  const QByteArray bytes(reinterpret_cast<const char*>(image.data()), static_cast<int>(image.size()));
  fuzz::require(texts == reference::texts(family, bytes, !inBootLoader), "every image is sent with the known texts");
  const QByteArray padded = reference::padded(family, bytes);
  const std::vector<std::uint8_t> flash = simulator::mcuFlash();
  fuzz::require(flash.size() >= static_cast<std::size_t>(padded.size()) &&
                    std::equal(padded.begin(), padded.end(), flash.begin(),
                               [](char sent, std::uint8_t held) { return static_cast<std::uint8_t>(sent) == held; }),
                "the flash holds the image, filled up with zeros to the end of its last block");

  // One checksum read per packet, and no packet sent twice.
  const auto blocks = static_cast<std::size_t>(reference::blockCount(family, bytes));
  const std::size_t packets = 10 + blocks * (1 + static_cast<std::size_t>(family.blockSize) / 64) + 1;
  const std::vector<simulator::JournalEntry> calls = simulator::journal();
  const auto sent =
      static_cast<std::size_t>(std::count_if(calls.begin(), calls.end(), [](const simulator::JournalEntry& call) {
        return call.operation == "AT_System_Send_ExternalMCU_cmd";
      }));
  fuzz::require(sent == packets + (inBootLoader ? 0 : 2), "no packet is sent in vain");
  return 0;
}
