#include "bench/pairs.h"
#include "device/RTICE_SDK_x64.h"
#include "device/prompt_sleep.h"
#include "firmware/ext_mcu_upgrade.h"
#include "firmware/upgrade_texts.h"
#include "simulator/control/control.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <numeric>
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
  Milliseconds late{};         // by which all the pauses together ended late
  int pauses = 0;
  std::string lastText;
};

struct Family {
  const char* code;
  std::size_t blockSize;
  std::size_t blocks;
  Milliseconds waited;  // for the device's work
};

// One upgrade in real time of a device that was just plugged in.
Figures upgrade(const Family& family) {
  const std::string error =
      simulator::loadScenario(std::string(R"({"externalMcu": {"family": ")") + family.code + "\"}}");
  if (!error.empty() || initialize() != 0 || setDevice(0, 0, 0x5C19, 0x6B03) != 0 || openPort() != 0) {
    std::fprintf(stderr, "the simulated device does not open; is another library in the loader's path?\n");
    std::exit(2);
  }
  const std::vector<std::uint8_t> image(family.blocks * family.blockSize, 0xA5);
  Figures figures;
  const auto start = std::chrono::steady_clock::now();
  firmware::upgradeExtMcu(
      image, true,
      [&figures](std::chrono::milliseconds time) {
        const auto begin = std::chrono::steady_clock::now();
        std::this_thread::sleep_for(time);
        figures.late += std::chrono::steady_clock::now() - begin - time;
        (time == 5ms ? figures.pollPauses : figures.fixedPauses) += time;
        ++figures.pauses;
      },
      [&figures](const firmware::UpgradeEvent& event) {
        for (const QString& text : firmware::windowTexts(event)) {
          figures.lastText = text.toStdString();
        }
      });
  figures.elapsed = std::chrono::steady_clock::now() - start;
  if (figures.lastText != "MCU Update Done...[Success]") {
    std::fprintf(stderr, "the upgrade ended with: %s\n", figures.lastText.c_str());
    std::exit(1);
  }
  return figures;
}

void compare(const Family& family, int runs) {
  std::vector<double> elapsed;
  std::vector<double> ratio;
  std::vector<double> late;
  std::vector<double> calls;
  Figures last;
  for (int run = 0; run < runs; ++run) {
    last = upgrade(family);
    elapsed.push_back(last.elapsed.count());
    ratio.push_back(last.elapsed / (last.fixedPauses + family.waited));
    late.push_back(last.late.count());
    calls.push_back((last.elapsed - last.fixedPauses - last.pollPauses - last.late).count());
  }
  std::printf("%-8s %6zu %7.1f ms %7.1f ms %5.1f ms %8.4f %6d %7.1f ms %7.1f ms\n", family.code, family.blocks,
              median(elapsed), last.fixedPauses.count(), family.waited.count(), median(ratio), last.pauses,
              median(late), median(calls));
}

/// By how much a single short pause ends late. No upgrade can do better.
double lateAlone(int sleeps) {
  std::vector<double> late;
  for (int i = 0; i < sleeps; ++i) {
    const auto begin = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(5ms);
    late.push_back(Milliseconds(std::chrono::steady_clock::now() - begin - 5ms).count());
  }
  return std::accumulate(late.begin(), late.end(), 0.0) / sleeps;
}

}  // namespace

/// Upgrades in real time and where the time goes; medians. Boot loader work that a fixed
/// pause covers costs nothing. The program polls for the set-boot and, once per block,
/// for a page's programming.
/// Usage: ext_mcu_upgrade_bench [RUNS [BLOCKS]]: BLOCKS of family 2 only
int main(int argc, char** argv) {
  const int runs = std::max(1, argc > 1 ? std::atoi(argv[1]) : 3);
  std::vector<Family> families{{"2", 1024, 12, 20ms + 12 * 25ms},
                               {"2", 1024, 60, 20ms + 60 * 25ms},
                               {"v", 128, 12, 20ms + 12 * 5ms},
                               {"v", 128, 60, 20ms + 60 * 5ms}};
  if (argc > 2) {
    const int blocks = std::max(1, std::atoi(argv[2]));
    families = {{"2", 1024, static_cast<std::size_t>(blocks), 20ms + blocks * 25ms}};
  }
  std::printf("%-8s %6s %10s %10s %8s %8s %6s %10s %10s\n", "family", "blocks", "elapsed", "pauses", "device", "ratio",
              "sleeps", "end late", "calls");
  for (const Family& family : families) {
    compare(family, runs);
  }
  const int sleeps = 70 * runs;
  const double ordinary = lateAlone(sleeps);
  const device::PromptSleep promptSleep;
  const double prompt = lateAlone(sleeps);
  std::printf("A sleep of 5 ms alone ends late by %.3f ms, as in an upgrade by %.3f ms; means of %d.\n", ordinary,
              prompt, sleeps);
  std::printf(
      "Ratio: elapsed to pauses and device. Sleeps: all pauses, those between polls included; by how much they all\n"
      "ended late, and how long the library's calls took. Medians of %d.\n",
      runs);
  return 0;
}
