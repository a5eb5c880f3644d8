#include "simulator/external_mcu.h"

#include <algorithm>
#include <charconv>

namespace simulator {
namespace {

constexpr std::array<std::string_view, 3> kMcuKeys{"family", "version", "mode"};
constexpr std::array<std::string_view, 2> kFamilies{"2", "v"};
constexpr std::array<std::string_view, 2> kModes{"application", "bootLoader"};

constexpr std::size_t kMaxText = 100;

constexpr std::uint8_t kFamilyRegister = 0x00;
constexpr std::uint8_t kVersionRegister = 0x02;  // of the application
constexpr std::uint8_t kStatusRegister = 0x01;   // of the boot loader
constexpr std::uint8_t kBootLoaderReady = 0x01;
constexpr std::uint8_t kUnusedRegister = 0xFF;

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

}  // namespace

void ExternalMcu::configure(const Section& scenario) {
  const auto mcu = scenario.section("externalMcu", kMcuKeys);
  if (!mcu) {
    return;
  }
  if (const auto index = mcu->choice("family", kFamilies)) {
    family_ = static_cast<std::uint8_t>(kFamilies[*index].front());
  }
  if (const auto version = mcu->text("version", kMaxText)) {
    const auto byte = parseByte(*version);
    if (!byte) {
      mcu->fail("version", R"(must be a byte from "0x00" to "0xFF"; its halves are the version's two numbers)");
    }
    version_ = *byte;
  }
  inBootLoader_ = mcu->choice("mode", kModes).value_or(inBootLoader_ ? 1 : 0) == 1;
}

bool ExternalMcu::answersAt(std::uint8_t address) const {
  return address == (inBootLoader_ ? kBootLoaderAddress : kApplicationAddress);
}

bool ExternalMcu::write(std::uint8_t, std::span<const std::uint8_t> bytes) { return !bytes.empty(); }

bool ExternalMcu::read(std::uint8_t, std::span<const std::uint8_t> index, std::span<std::uint8_t> result) {
  if (index.size() != 1) {
    return false;
  }
  std::fill(result.begin(), result.end(), kUnusedRegister);
  if (!result.empty()) {
    if (index[0] == kFamilyRegister) {
      result[0] = family_;
    } else if (inBootLoader_ && index[0] == kStatusRegister) {
      result[0] = kBootLoaderReady;
    } else if (!inBootLoader_ && index[0] == kVersionRegister) {
      result[0] = version_;
    }
  }
  return true;
}

}  // namespace simulator
