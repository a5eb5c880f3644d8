/// @file
/// Seeded campaigns over recordings:
///   recorder_campaigns interleavings COUNT SEED   two threads, recorded and replayed
///   recorder_campaigns flips COUNT SEED           single damaged bytes in a recording of 3,000 calls
/// Prints one line; exit code 0 if everything held.
#include "recorder/player.h"
#include "recorder/recorder.h"
#include "tests/recorder/through.h"
#include "tests/support/seeded_random.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string_view>
#include <thread>

namespace {

using device::Operation;

std::atomic<std::uint8_t> countOfReads = 0;

std::int32_t countingRead(std::uint8_t* buffer) {
  *buffer = ++countOfReads;
  return *buffer % 5 == 0 ? -1 : 0;
}

std::int32_t burnInSteps(const char* /*path*/, RTICE_ProgressCallback progress) {
  for (int step = 1; step <= 5; ++step) {
    progress(static_cast<float>(20 * step));
    std::this_thread::yield();
  }
  return 0;
}

recorder::Recorder::Options optionsFor(const std::filesystem::path& file) {
  recorder::Recorder::Options options;
  options.functions = quiet_library::functions();
  quiet_library::put(options.functions, Operation::AT_EDID_Get_EDID_mode, &countingRead);
  quiet_library::put(options.functions, Operation::burnToFlash, &burnInSteps);
  options.file = file;
  return options;
}

template <typename Target>
int readMode(Target& target) {
  std::uint8_t mode = 0;
  const std::int32_t result = THROUGH(target, AT_EDID_Get_EDID_mode, &mode);
  return result == 0 ? mode : -mode;
}

/// What two threads saw: one reads, the other burns and reads.
struct Seen {
  std::vector<int> reads;
  std::vector<int> readsAfterBurns;
  bool operator==(const Seen&) const = default;
};

// Lets the other thread run first at moments chosen by a seed.
void pause(SeededRandom& random) {
  for (std::uint32_t i = random.below(4); i > 0; --i) {
    std::this_thread::yield();
  }
}

template <typename Target>
Seen burnAndRead(Target& target, std::uint32_t seed) {
  Seen seen;
  std::thread worker([&] {
    SeededRandom random{seed, 1};
    for (int i = 0; i < 6; ++i) {
      pause(random);
      THROUGH(target, burnToFlash, "image", [](float) {});
      seen.readsAfterBurns.push_back(readMode(target));
    }
  });
  SeededRandom random{seed, 2};
  THROUGH(target, openPort);
  for (int i = 0; i < 12; ++i) {
    pause(random);
    seen.reads.push_back(readMode(target));
  }
  worker.join();
  THROUGH(target, closePort);
  return seen;
}

int failed(const std::string& what) {
  std::printf("FAILED: %s\n", what.c_str());
  return EXIT_FAILURE;
}

int interleavings(std::uint32_t count, std::uint32_t seed) {
  for (std::uint32_t i = seed; i < seed + count; ++i) {
    const QTemporaryDir folder;
    const auto file = pathIn(folder, "calls.jsonl");
    countOfReads = 0;
    recorder::Recorder recorder(optionsFor(file));
    const Seen before = burnAndRead(recorder, i);
    recorder.finish();

    auto recording = recorder::readRecording(file);
    if (!recording) {
      return failed(recording.error().text());
    }
    std::string report;
    recorder::Player::Options options;
    options.report = [&](const std::string& text) { report += text; };
    recorder::Player player(*std::move(recording), options);
    const Seen after = burnAndRead(player, i + 77'777);
    player.finish();
    if (report != "complete: 26 calls replayed\n" || !(before == after)) {
      return failed("seed " + std::to_string(i) + ": " + report);
    }
  }
  std::printf("%u interleavings of two threads replayed as recorded\n", count);
  return EXIT_SUCCESS;
}

std::string longRecording() {
  const QTemporaryDir folder;
  const auto file = pathIn(folder, "calls.jsonl");
  recorder::Recorder recorder(optionsFor(file));
  for (int i = 0; i < 3000; ++i) {
    if (i % 100 == 1) {
      THROUGH(recorder, burnToFlash, "image", [](float) {});
    } else {
      readMode(recorder);
    }
  }
  recorder.finish();
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string verdictOn(const std::string& text) {
  std::istringstream stream(text);
  const auto walk = recorder::walkRecording(stream, "text", [](recorder::LinePlace, recorder::Line&&) {});
  return !walk ? walk.error().text() : walk->complete ? "whole" : "without its end";
}

int flips(std::uint32_t count, std::uint32_t seed) {
  const std::string text = longRecording();
  if (verdictOn(text) != "whole") {
    return failed("the recording itself: " + verdictOn(text));
  }
  SeededRandom random{seed};
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::size_t place = random.below(static_cast<std::uint32_t>(text.size()));
    std::string damaged = text;
    damaged[place] = static_cast<char>(static_cast<unsigned>(damaged[place]) ^ (1 + random.below(255)));
    const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(place), '\n');
    if (verdictOn(damaged).rfind("text:" + std::to_string(line) + ": ", 0) != 0) {
      return failed("byte " + std::to_string(place) + ": " + verdictOn(damaged));
    }
  }
  std::printf("%u damaged bytes in %zu noticed in their lines\n", count, text.size());
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char* argv[]) {
  const std::string_view campaign = argc == 4 ? argv[1] : "";
  const auto number = [&](int index) { return static_cast<std::uint32_t>(std::strtoul(argv[index], nullptr, 10)); };
  if (campaign == "interleavings") {
    return interleavings(number(2), number(3));
  }
  if (campaign == "flips") {
    return flips(number(2), number(3));
  }
  std::fputs("usage: recorder_campaigns interleavings|flips COUNT SEED\n", stderr);
  return 2;
}
