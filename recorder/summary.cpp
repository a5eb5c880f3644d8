#include "recorder/summary.h"

#include "recorder/call_text.h"
#include "recorder/packets.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <map>

namespace recorder {
namespace {

struct Figures {
  std::size_t calls = 0;
  std::size_t failures = 0;
  std::vector<std::int64_t> durations;
};

template <std::size_t size, typename... Values>
std::string formatted(const char (&format)[size], Values... values) {
  std::array<char, 256> text{};
  std::snprintf(text.data(), text.size(), format, values...);
  return text.data();
}

// In any locale with a point.
std::string milliseconds(std::int64_t nanoseconds) {
  std::array<char, 64> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), static_cast<double>(nanoseconds) / 1e6,
                                 std::chars_format::fixed, 3)
                       .ptr;
  return {text.data(), end};
}

std::string headOf(const Recording& recording) {
  const Header& header = recording.header;
  std::string text = "Library:   " + header.library + (header.simulated ? " (simulated device)" : "") + "\n";
  text += "SHA-256:   " + (header.librarySha256.empty() ? "not known" : header.librarySha256) + "\n";
  text +=
      "Recorded:  " + header.utc + ", by recorder " + header.recorder + (header.redacted ? ", redacted" : "") + "\n";
  std::map<unsigned, bool> threads;
  for (const RecordedCall& call : recording.calls) {
    threads[call.place.thread] = true;
  }
  text += "Calls:     " + std::to_string(recording.calls.size()) + " in " + std::to_string(threads.size()) +
          " threads, " + std::to_string(recording.progress.size()) + " progress callbacks\n";
  if (recording.walk.firstPart > 1) {
    text += "Parts:     from " + std::to_string(recording.walk.firstPart) +
            " on; those before were removed to save space\n";
  }
  if (recording.walk.cutOff) {
    text += "The recording is cut off in line " + std::to_string(recording.walk.lastLine + 1) + " of " +
            recording.walk.lastFile + ": the program or the computer stopped suddenly.\n";
  } else if (!recording.walk.complete) {
    text += "The recording ends without its last line: the program did not end in order, or the disk was full.\n";
  }
  return text;
}

std::string tableOf(const Recording& recording) {
  std::map<device::Operation, Figures> table;
  for (const RecordedCall& call : recording.calls) {
    Figures& figures = table[call.image.operation];
    ++figures.calls;
    if (call.ending) {
      figures.failures += call.image.description().failed(call.image.result) ? 1 : 0;
      figures.durations.push_back(call.took);
    }
  }
  std::string text =
      formatted("\n%-38s %7s %7s %12s %12s %12s\n", "Operation", "calls", "failed", "min ms", "median ms", "max ms");
  for (auto& [operation, figures] : table) {
    std::vector<std::int64_t>& durations = figures.durations;
    std::sort(durations.begin(), durations.end());
    const auto at = [&](std::size_t index) { return durations.empty() ? "-" : milliseconds(durations[index]); };
    text += formatted("%-38s %7zu %7zu %12s %12s %12s\n", device::describe(operation).name.data(), figures.calls,
                      figures.failures, at(0).c_str(), at(durations.size() / 2).c_str(),
                      at(durations.empty() ? 0 : durations.size() - 1).c_str());
  }
  return text;
}

std::string packetsOf(const Recording& recording) {
  std::string text;
  std::uint64_t block = 0;
  for (const RecordedCall& call : recording.calls) {
    const std::optional<SeenPacket> packet = packetOf(call.image);
    if (!packet) {
      continue;
    }
    const bool isData = packet->command == device::BootCommand::kData;
    block += isData ? 1 : 0;
    text += "  line " + std::to_string(call.line.line) + ": " +
            (isData ? "block " + std::to_string(block) + ", " : "") + textOf(*packet) +
            (call.image.result == 0 ? "" : ", failed with " + std::to_string(call.image.result)) + "\n";
  }
  return text.empty() ? text : "\nPackets to the external MCU's boot loader:\n" + text;
}

// The n-th call of each thread.
std::map<unsigned, std::vector<const RecordedCall*>> threadsOf(const Recording& recording) {
  std::map<unsigned, std::vector<const RecordedCall*>> threads;
  for (const RecordedCall& call : recording.calls) {
    threads[call.place.thread].push_back(&call);
  }
  return threads;
}

std::string answerOf(const RecordedCall& call) {
  if (!call.ending) {
    return "did not return";
  }
  std::string text = "returned " + std::to_string(call.image.result);
  for (std::size_t i = 0; i < call.image.description().parameterCount; ++i) {
    const OutputRun& run = call.image.outputs[i];
    if (!run.bytes.empty()) {
      text +=
          ", " + std::string(call.image.description().parameters()[i].name) + " " + std::to_string(run.offset) + ":";
      appendHex(text, std::span(run.bytes).first(std::min<std::size_t>(run.bytes.size(), 32)));
    }
  }
  return text;
}

bool isSame(const RecordedCall& a, const RecordedCall& b) {
  return differenceBetween(a.image, b.image).empty() && a.image.outputs == b.image.outputs &&
         a.image.result == b.image.result && a.ending.has_value() == b.ending.has_value();
}

std::string lineOf(const Recording& recording, const std::vector<const RecordedCall*>& calls, std::size_t index) {
  if (index >= calls.size()) {
    return "  " + utf8Of(recording.file) + ": nothing more\n";
  }
  const RecordedCall& call = *calls[index];
  return "  " + recording.textOf(call.line) + ": " + textOf(call.image) + " " + answerOf(call) + "\n";
}

}  // namespace

std::string summaryOf(const Recording& recording) {
  std::string text = headOf(recording) + tableOf(recording);
  for (const RecordedCall& call : recording.calls) {
    if (!call.ending) {
      text += "\nUnder way at the end: " + textOf(call.image) + " (line " + std::to_string(call.line.line) + ")\n";
    }
  }
  return text + packetsOf(recording);
}

std::string differencesBetween(const Recording& a, const Recording& b) {
  auto threadsOfA = threadsOf(a);
  auto threadsOfB = threadsOf(b);
  for (const auto& [number, calls] : threadsOfB) {
    threadsOfA[number];
  }
  std::string text;
  for (const auto& [number, callsOfA] : threadsOfA) {
    const std::vector<const RecordedCall*>& callsOfB = threadsOfB[number];
    const auto [inA, inB] = std::mismatch(callsOfA.begin(), callsOfA.end(), callsOfB.begin(), callsOfB.end(),
                                          [](const auto* one, const auto* other) { return isSame(*one, *other); });
    if (inA == callsOfA.end() && inB == callsOfB.end()) {
      continue;
    }
    const auto index = static_cast<std::size_t>(inA - callsOfA.begin());
    text += "thread " + std::to_string(number) + ", call " + std::to_string(index + 1) + ":\n" +
            lineOf(a, callsOfA, index) + lineOf(b, callsOfB, index);
  }
  return text;
}

}  // namespace recorder
