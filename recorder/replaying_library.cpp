/// @file
/// The replay under the device library's own name. What it replays is said by
/// the environment; docs/recording.md lists the variables.
#include "recorder/environment.h"
#include "recorder/exported.h"
#include "recorder/player.h"

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

namespace recorder {
namespace {

constexpr std::int32_t kNoRecording = -2'000'000'001;

// One process's report must not replace that of another.
void report(const std::string& text) {
  const std::filesystem::path file = environmentPath("PELLAVOX_REPLAY_REPORT");
  if (file.empty()) {
    std::fprintf(stderr, "pellavox replay: %s", text.c_str());
    return;
  }
  std::ofstream stream(file, std::ios::binary | std::ios::app);
  stream << text;
}

std::unique_ptr<Player> makePlayer() {
  auto recording = readRecording(environmentPath("PELLAVOX_REPLAY"));
  if (!recording) {
    report("unusable: " + recording.error().text() + "\n");
    return nullptr;
  }
  // So that a process that is killed during the replay shows.
  if (!environmentPath("PELLAVOX_REPLAY_REPORT").empty()) {
    report("begun: process " + std::to_string(processNumber()) + "\n");
  }
  Player::Options options;
  options.atRecordedSpeed = environmentText("PELLAVOX_REPLAY_SPEED") == "recorded";
  options.patience = std::chrono::milliseconds(environmentNumber("PELLAVOX_REPLAY_PATIENCE", 10'000));
  options.report = &report;
  return std::make_unique<Player>(*std::move(recording), std::move(options));
}

// Never destroyed, as threads may outlive it.
const std::unique_ptr<Player>& player() {
  static const auto* const made = new std::unique_ptr<Player>(makePlayer());
  return *made;
}

struct ReplayAtExit {
  ReplayAtExit() = default;
  ReplayAtExit(const ReplayAtExit&) = delete;
  ReplayAtExit& operator=(const ReplayAtExit&) = delete;
  ~ReplayAtExit() {
    // A program that calls nothing leaves everything over.
    const std::unique_ptr<Player>& made = player();
    if (made) {
      made->finish();
    }
  }
} const replayAtExit;

std::int32_t replay(device::Operation operation, std::span<const RawArgument> arguments, Invoke /*invoke*/,
                    const void* /*caller*/) {
  const std::unique_ptr<Player>& made = player();
  return made ? made->call(operation, arguments) : kNoRecording;
}

}  // namespace
}  // namespace recorder

#define OPERATION(name, kind, result, declaration, arguments, ...) \
  RECORDER_EXPORT_OPERATION(recorder::replay, name, declaration, arguments)
#include "device/operations.inc"
#undef OPERATION
