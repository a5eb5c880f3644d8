#include "recorder/line_text.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>

namespace recorder {
namespace {

template <typename Number>
void appendNumber(std::string& line, Number number) {
  std::array<char, 24> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  line.append(digits.data(), end);
}

void appendText(std::string& line, std::string_view key, const std::string& text) {
  line.append(",\"").append(key).append("\":");
  line += nlohmann::json(text).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

template <typename Number>
void appendMember(std::string& line, std::string_view key, Number number) {
  line.append(",\"").append(key).append("\":");
  appendNumber(line, number);
}

void appendPlace(std::string& line, const CallPlace& place) {
  appendNumber(line, place.number);
  appendMember(line, "thread", place.thread);
  appendMember(line, "after", place.after);
  appendMember(line, "at", place.at);
}

void appendInput(std::string& line, const Input& input, bool isKey) {
  switch (input.kind) {
    case Input::Kind::kNothing:
      return;
    case Input::Kind::kNull:
      line += "null";
      return;
    case Input::Kind::kNumber:
      appendNumber(line, input.number);
      return;
    case Input::Kind::kBytes:
      line += '"';
      appendHex(line, input.bytes);
      line += '"';
      return;
    case Input::Kind::kFile:
      if (!input.file.readable) {
        line += R"({"unreadable":true})";
        return;
      }
      line += R"({"bytes":)";
      appendNumber(line, input.file.size);
      line.append(isKey ? R"(,"salted_sha256":")" : R"(,"sha256":")").append(input.file.hash).append("\"}");
      return;
    case Input::Kind::kCallback:
      line += "true";
      return;
  }
}

void appendInputs(std::string& line, const CallImage& image) {
  const auto parameters = image.description().parameters();
  line.append(R"(,"op":")").append(image.description().name).append(R"(","in":{)");
  const char* separator = "\"";
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    if (image.inputs[i].kind != Input::Kind::kNothing) {
      line.append(separator).append(parameters[i].name).append("\":");
      appendInput(line, image.inputs[i], image.operation == device::Operation::burnHDCP);
      separator = ",\"";
    }
  }
  line += '}';
}

void appendAnswer(std::string& line, const CallImage& image, std::int64_t took) {
  const auto parameters = image.description().parameters();
  line += R"(,"out":{)";
  const char* separator = "\"";
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const OutputRun& run = image.outputs[i];
    if (!run.bytes.empty()) {
      line.append(separator).append(parameters[i].name).append("\":\"");
      appendNumber(line, run.offset);
      line += ':';
      appendHex(line, run.bytes);
      line += '"';
      separator = ",\"";
    }
  }
  line += '}';
  appendMember(line, "result", image.result);
  appendMember(line, "took", took);
}

}  // namespace

void writeHeader(std::string& line, const Header& header) {
  line = R"({"kind":"header","format":1)";
  appendText(line, "library", header.library);
  appendText(line, "library_sha256", header.librarySha256);
  line.append(R"(,"simulated":)").append(header.simulated ? "true" : "false");
  appendText(line, "recorder", header.recorder);
  appendText(line, "utc", header.utc);
  appendText(line, "salt", header.salt);
  line.append(R"(,"redacted":)").append(header.redacted ? "true" : "false");
}

void writeCall(std::string& line, const CallPlace& place, const CallImage& image, std::int64_t took) {
  line = R"({"kind":"call","call":)";
  appendPlace(line, place);
  appendInputs(line, image);
  appendAnswer(line, image, took);
}

void writeBegin(std::string& line, const CallPlace& place, const CallImage& image) {
  line = R"({"kind":"begin","call":)";
  appendPlace(line, place);
  appendInputs(line, image);
}

void writeEnd(std::string& line, std::uint64_t number, const CallImage& image, std::int64_t took) {
  line = R"({"kind":"end","call":)";
  appendNumber(line, number);
  appendAnswer(line, image, took);
}

void writeProgress(std::string& line, const CallPlace& place, float percent) {
  line = R"({"kind":"progress","call":)";
  appendPlace(line, place);
  line.append(R"(,"percent":")").append(percentText(percent)).append("\"");
}

std::string percentText(float percent) {
  if (std::isnan(percent)) {
    return "nan";  // some systems write a sign before it
  }
  // Not printf, whose decimal point is that of the locale.
  std::array<char, 32> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), percent, std::chars_format::general, 9).ptr;
  return {text.data(), end};
}

}  // namespace recorder
