#include "simulator/library/journal_text.h"

namespace simulator {
namespace {

constexpr std::size_t kMaxBytesShown = 1024;
constexpr char kDigits[] = "0123456789ABCDEF";

}  // namespace

std::string hex(std::uint32_t value, std::size_t digits) {
  std::string text;
  while (value != 0 || text.size() < digits) {
    text.insert(text.begin(), kDigits[value & 0xF]);
    value >>= 4;
  }
  return "0x" + text;
}

std::string byteText(const std::uint8_t* data, std::size_t length) {
  if (!data) {
    return "null";
  }
  if (length > kMaxBytesShown) {
    return "[" + std::to_string(length) + " bytes]";
  }
  std::string text = "[";
  for (std::size_t i = 0; i < length; ++i) {
    if (i != 0) {
      text += ' ';
    }
    text += kDigits[data[i] >> 4];
    text += kDigits[data[i] & 0xF];
  }
  return text + "]";
}

std::string quoted(const char* text) {
  if (!text) {
    return "null";
  }
  std::string result("\"");
  result += text;
  return result + "\"";
}

}  // namespace simulator
