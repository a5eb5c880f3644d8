/// @file
/// A recording. Any input is either read, and can then be replayed, or refused with one
/// line that says why. The first byte decides whether the lines bring their own chain
/// values or get correct ones here, so that more of them pass.
#include "fuzz/target.h"
#include "recorder/player.h"
#include "recorder/recording_file.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <string>

namespace {

// Adds the chain value to each line of the text.
std::string sealed(const std::string& text) {
  std::istringstream lines(text);
  std::string result;
  recorder::Chain chain;
  for (std::string line; std::getline(lines, line);) {
    recorder::seal(line, chain);
    result += line;
  }
  return result;
}

void replay(const recorder::Recording& recording) {
  std::string report;
  recorder::Player::Options options;
  options.patience = std::chrono::milliseconds(0);
  options.report = [&](const std::string& text) { report += text; };
  {
    recorder::Player player(recording, options);
    std::array<std::uint8_t, 512> buffer{};
    const std::array<recorder::RawArgument, 3> arguments{
        recorder::rawArgument(buffer.data()), {100, 0}, recorder::rawArgument(buffer.data() + 256)};
    player.call(device::Operation::initialize, {});
    player.call(device::Operation::AT_USB_Get_SerialNum, arguments);
    player.finish();
  }
  fuzz::require(report.rfind("complete", 0) == 0 || report.rfind("difference", 0) == 0,
                "the replay reports its result");
  fuzz::require(std::none_of(report.begin(), report.end(),
                             [](char letter) { return static_cast<unsigned char>(letter) < 0x20 && letter != '\n'; }),
                "its report can be printed");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  std::istringstream stream(data[0] % 2 == 0 ? text : sealed(text));
  const auto recording = recorder::readRecording(stream, "text");
  if (recording) {
    replay(*recording);
    return 0;
  }
  const std::string error = recording.error().text();
  fuzz::require(error.rfind("text:", 0) == 0 && recording.error().line >= 1, "an error names text and line");
  fuzz::require(std::all_of(error.begin(), error.end(), [](char letter) { return letter >= 0x20 && letter < 0x7F; }),
                "it is one printable line");
  fuzz::require(error.size() < 200, "of a length that can be read");
  return 0;
}
