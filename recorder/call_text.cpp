#include "recorder/call_text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace recorder {
namespace {

constexpr std::size_t kShownBytes = 24;

std::string textOf(const FileMark& file) {
  return file.readable ? "file of " + std::to_string(file.size) + " bytes, " + file.hash.substr(0, 12)
                       : "unreadable file";
}

std::string textOf(const Input& input) {
  switch (input.kind) {
    case Input::Kind::kNothing:
      return "buffer";
    case Input::Kind::kNull:
      return "null";
    case Input::Kind::kNumber:
      return std::to_string(input.number);
    case Input::Kind::kBytes: {
      std::string text = "[";
      appendHex(text, std::span(input.bytes).first(std::min(input.bytes.size(), kShownBytes)));
      if (input.bytes.size() > kShownBytes) {
        text += "... " + std::to_string(input.bytes.size()) + " bytes";
      }
      return text + "]";
    }
    case Input::Kind::kFile:
      return textOf(input.file);
    case Input::Kind::kCallback:
      return "callback";
  }
  return {};
}

std::string hexadecimal(std::uint8_t byte) {
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "0x%02X", byte);
  return text.data();
}

std::string differenceOf(const Bytes& expected, const Bytes& got) {
  const auto [there, here] = std::mismatch(expected.begin(), expected.end(), got.begin(), got.end());
  const std::string place = ", byte " + std::to_string(there - expected.begin()) + ": ";
  const std::string wanted = there == expected.end() ? "nothing" : hexadecimal(*there);
  return place + (here == got.end() ? "nothing" : hexadecimal(*here)) + " instead of " + wanted;
}

}  // namespace

std::string textOf(const CallImage& image) {
  const device::OperationDescription& operation = image.description();
  std::string text = std::string(operation.name) + "(";
  const char* separator = "";
  for (std::size_t i = 0; i < operation.parameterCount; ++i) {
    if (image.inputs[i].kind != Input::Kind::kNothing) {
      text.append(separator).append(operation.parameters()[i].name).append("=").append(textOf(image.inputs[i]));
      separator = ", ";
    }
  }
  return text + ")";
}

std::string differenceBetween(const CallImage& expected, const CallImage& got) {
  if (expected.operation != got.operation) {
    return "the operation";
  }
  const device::OperationDescription& operation = expected.description();
  for (std::size_t i = 0; i < operation.parameterCount; ++i) {
    const Input& there = expected.inputs[i];
    const Input& here = got.inputs[i];
    if (there == here) {
      continue;
    }
    const std::string name(operation.parameters()[i].name);
    if (there.kind == Input::Kind::kBytes && here.kind == Input::Kind::kBytes) {
      return name + differenceOf(there.bytes, here.bytes);
    }
    return name + ": " + textOf(here) + " instead of " + textOf(there);
  }
  return {};
}

}  // namespace recorder
