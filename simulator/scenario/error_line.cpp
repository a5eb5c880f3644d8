#include "simulator/scenario/error_line.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

namespace simulator {
namespace {

constexpr std::size_t kMaxLength = 2000;  // the names of all operations fit

struct CodeRange {
  char32_t first;
  char32_t last;
};

// Controls, separators and characters that only change how others are shown.
constexpr auto kNotPrintable = std::to_array<CodeRange>({
    {0x00, 0x1F},
    {0x7F, 0x9F},
    {0xAD, 0xAD},
    {0x061C, 0x061C},
    {0x115F, 0x1160},
    {0x17B4, 0x17B5},
    {0x180B, 0x180F},
    {0x200B, 0x200F},
    {0x2028, 0x202E},
    {0x2060, 0x206F},
    {0xFE00, 0xFE0F},
    {0xFEFF, 0xFEFF},
    {0xFFF0, 0xFFFB},
    {0xE0000, 0xE0FFF},
});

struct Character {
  char32_t code;
  std::size_t bytes;
};

/// The character at the start of a text that is not empty; nothing when its
/// bytes are not UTF-8.
std::optional<Character> firstCharacter(std::string_view text) {
  const auto byteAt = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned first = byteAt(0);
  if (first < 0x80) {
    return Character{first, 1};
  }
  const std::size_t bytes = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first >= 0xF8 || text.size() < bytes) {
    return std::nullopt;
  }
  char32_t code = first & (0xFFU >> (bytes + 1));
  for (std::size_t i = 1; i < bytes; ++i) {
    if ((byteAt(i) & 0xC0U) != 0x80) {
      return std::nullopt;
    }
    code = code << 6 | (byteAt(i) & 0x3FU);
  }
  const char32_t smallest = bytes == 4 ? 0x10000 : bytes == 3 ? 0x800 : 0x80;
  const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
  return code < smallest || code > 0x10FFFF || isSurrogate ? std::nullopt : std::optional(Character{code, bytes});
}

bool isPrintable(char32_t code) {
  return std::none_of(kNotPrintable.begin(), kNotPrintable.end(),
                      [code](const CodeRange& range) { return code >= range.first && code <= range.last; });
}

}  // namespace

std::string errorLine(std::string_view text) {
  std::string line;
  while (!text.empty()) {
    const auto character = firstCharacter(text);
    const std::size_t bytes = character ? character->bytes : 1;
    if (line.size() + bytes > kMaxLength) {
      return line + "...";
    }
    line += character && isPrintable(character->code) ? text.substr(0, bytes) : "?";
    text.remove_prefix(bytes);
  }
  return line;
}

std::string errorLine(const std::filesystem::path& file, std::string_view text) {
  const std::u8string name = file.u8string();
  return errorLine(std::string(name.begin(), name.end()).append(": ").append(text));
}

}  // namespace simulator
