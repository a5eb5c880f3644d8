#include "device/RTICE_SDK_x64.h"
#include "firmware/ext_mcu_upgrade.h"
#include "firmware/upgrade_texts.h"
#include "simulator/control/control.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using Milliseconds = std::chrono::duration<double, std::milli>;

namespace {

struct Figures {
  Milliseconds elapsed{};
  Milliseconds fixedPauses{};  // after the reset and after control packets
  Milliseconds pollPauses{};   // between polls of a busy boot loader
  std::string lastText;
};

// One upgrade in real time of a device that was just plugged in.
Figures upgrade(const char* family, std::size_t blockSize, std::size_t blocks) {
  const std::string error = simulator::loadScenario(std::string(R"({"externalMcu": {"family": ")") + family + "\"}}");
  if (!error.empty() || initialize() != 0 || setDevice(0, 0, 0x5C19, 0x6B03) != 0 || openPort() != 0) {
    std::fprintf(stderr, "the simulated device does not open; is another library in the loader's path?\n");
    std::exit(2);
  }
  const std::vector<std::uint8_t> image(blocks * blockSize, 0xA5);
  Figures figures;
  const auto start = std::chrono::steady_clock::now();
  firmware::upgradeExtMcu(
      image, true,
      [&figures](std::chrono::milliseconds time) {
        (time == 5ms ? figures.pollPauses : figures.fixedPauses) += time;
        std::this_thread::sleep_for(time);
      },
      [&figures](const firmware::UpgradeEvent& event) {
        for (const QString& text : firmware::windowTexts(event)) {
          figures.lastText = text.toStdString();
        }
      });
  figures.elapsed = std::chrono::steady_clock::now() - start;
  return figures;
}

}  // namespace

/// Upgrades 12 and 60 blocks in real time and prints what the time went into. The
/// boot loader's work that a fixed pause covers costs nothing; the work that is
/// polled for is a page's programming, once a block, and the set-boot.
/// Usage: ext_mcu_upgrade_bench [RUNS]
int main(int argc, char** argv) {
  const int runs = argc > 1 ? std::atoi(argv[1]) : 3;
  std::printf("%-8s %6s %10s %12s %14s %12s %8s %16s\n", "family", "blocks", "elapsed", "fixed pauses", "device waited",
              "poll pauses", "ratio", "to poll pauses");
  const struct {
    const char* code;
    std::size_t blockSize;
    std::size_t blocks;
    Milliseconds waited;
  } families[] = {{"2", 1024, 12, 20ms + 12 * 25ms},
                  {"2", 1024, 60, 20ms + 60 * 25ms},
                  {"v", 128, 12, 20ms + 12 * 5ms},
                  {"v", 128, 60, 20ms + 60 * 5ms}};
  for (const auto& family : families) {
    for (int run = 0; run < runs; ++run) {
      const Figures figures = upgrade(family.code, family.blockSize, family.blocks);
      if (figures.lastText != "MCU Update Done...[Success]") {
        std::fprintf(stderr, "the upgrade ended with: %s\n", figures.lastText.c_str());
        return 1;
      }
      std::printf("%-8s %6zu %7.1f ms %9.1f ms %11.1f ms %9.1f ms %8.4f %16.4f\n", family.code, family.blocks,
                  figures.elapsed.count(), figures.fixedPauses.count(), family.waited.count(),
                  figures.pollPauses.count(), figures.elapsed / (figures.fixedPauses + family.waited),
                  figures.elapsed / (figures.fixedPauses + figures.pollPauses));
    }
  }
  return 0;
}
