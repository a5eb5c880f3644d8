/// @file
/// What a scenario says of the external MCU.
#include "simulator/device/external_mcu.h"

#include <charconv>
#include <limits>

namespace simulator {
namespace {

constexpr std::array<std::string_view, 4> kMcuKeys{"family", "version", "mode", "faults"};
constexpr std::array<std::string_view, 3> kModes{"application", "bootLoader", "silent"};
constexpr std::array<std::string_view, 5> kMcuFaultKeys{"at", "number", "count", "kind", "polls"};
// In the order of the enumerators.
constexpr std::array<std::string_view, 8> kPlaces{"transfer", "reset",   "setBoot", "packet",
                                                  "start",    "address", "data",    "finish"};
constexpr std::array<std::string_view, 5> kKinds{"noAnswer", "lostReply", "damage", "wrongChecksum", "busy"};

constexpr std::size_t kMaxText = 100;

/// Reads a byte written as "0x12".
std::optional<std::uint8_t> parseByte(std::string_view text) {
  if (!text.starts_with("0x") || text.size() > 4) {
    return std::nullopt;
  }
  std::uint8_t byte = 0;
  const char* const end = text.data() + text.size();
  const auto [last, error] = std::from_chars(text.data() + 2, end, byte, 16);
  return error == std::errc() && last == end ? std::optional(byte) : std::nullopt;
}

McuFault readFault(const Section& section) {
  const auto at = section.choice("at", kPlaces);
  const auto kind = section.choice("kind", kKinds);
  if (!at || !kind) {
    section.fail(at ? "kind" : "at", "is missing");
  }
  McuFault fault;
  fault.at = static_cast<McuFault::At>(*at);
  fault.kind = static_cast<McuFault::Kind>(*kind);
  constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
  fault.number = static_cast<unsigned>(section.integer("number", 1, kMax).value_or(1));
  fault.count = static_cast<unsigned>(section.integer("count", 0, kMax).value_or(1));
  fault.polls = static_cast<unsigned>(section.integer("polls", 0, kMax).value_or(0));
  const bool isPacket = fault.at >= McuFault::At::kPacket;
  if ((fault.kind == McuFault::Kind::kDamage || fault.kind == McuFault::Kind::kWrongChecksum) && !isPacket) {
    section.fail("kind", "can only happen to a packet: at packet, start, address, data or finish");
  }
  if (fault.kind == McuFault::Kind::kStaysBusy && !isPacket && fault.at != McuFault::At::kSetBoot) {
    section.fail("kind", "can only follow what the boot loader works on: setBoot or a packet");
  }
  return fault;
}

}  // namespace

void ExternalMcu::configure(const Section& scenario) {
  const auto mcu = scenario.section("externalMcu", kMcuKeys);
  if (!mcu) {
    return;
  }
  const auto byteOf = [&mcu](std::string_view key, const std::string& text, const char* remedy) {
    const auto byte = parseByte(text);
    if (!byte) {
      mcu->fail(key, remedy);
    }
    return *byte;
  };
  if (const auto version = mcu->text("version", kMaxText)) {
    factoryVersion_ = byteOf("version", *version,
                             R"(must be a byte from "0x00" to "0xFF"; its halves are the version's two numbers)");
  }
  std::uint8_t code = familyCode_;
  if (const auto family = mcu->text("family", kMaxText)) {
    code = *family == "2" || *family == "v"
               ? static_cast<std::uint8_t>(family->front())
               : byteOf("family", *family, R"(must be "2", "v" or, for an unknown family, a byte such as "0x41")");
  }
  setFamily(code);
  if (const auto mode = mcu->choice("mode", kModes)) {
    silent_ = *mode == 2;
    if (*mode == 1) {
      applicationValid_ = false;
      enterBootLoader();
    }
  }
  for (const Section& fault : mcu->sections("faults", kMcuFaultKeys)) {
    addFault(readFault(fault));
  }
}

}  // namespace simulator
