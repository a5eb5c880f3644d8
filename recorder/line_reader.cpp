#include "recorder/line_reader.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <limits>

namespace recorder {
namespace {

using device::Direction;
using Json = nlohmann::json;

const Json& member(const Json& object, std::string_view key) {
  const auto found = object.find(std::string(key));
  if (found == object.end()) {
    throw LineError("the line has no \"" + std::string(key) + "\"");
  }
  return *found;
}

[[noreturn]] void failAt(std::string_view key, const char* expected) {
  throw LineError("\"" + std::string(key) + "\" is not " + expected);
}

std::string textAt(const Json& object, std::string_view key) {
  const Json& value = member(object, key);
  if (!value.is_string()) {
    failAt(key, "a text");
  }
  return value.get<std::string>();
}

bool truthAt(const Json& object, std::string_view key) {
  const Json& value = member(object, key);
  if (!value.is_boolean()) {
    failAt(key, "true or false");
  }
  return value.get<bool>();
}

std::int64_t numberOf(const Json& value, std::string_view key, std::int64_t least,
                      std::int64_t most = std::numeric_limits<std::int64_t>::max()) {
  const bool fits = value.is_number_integer() &&
                    !(value.is_number_unsigned() && value.get<std::uint64_t>() > static_cast<std::uint64_t>(most));
  if (!fits || value.get<std::int64_t>() < least || value.get<std::int64_t>() > most) {
    failAt(key, "a number that it can be");
  }
  return value.get<std::int64_t>();
}

std::int64_t countAt(const Json& object, std::string_view key) { return numberOf(member(object, key), key, 0); }

const Json& objectAt(const Json& object, std::string_view key) {
  const Json& value = member(object, key);
  if (!value.is_object()) {
    failAt(key, "an object");
  }
  return value;
}

Bytes bytesOf(std::string_view hex, std::string_view key) {
  std::optional<Bytes> bytes = bytesOfHex(hex);
  if (!bytes || bytes->size() > kMaxBufferSize) {
    failAt(key, "bytes in hexadecimal digits");
  }
  return *std::move(bytes);
}

CallPlace placeOf(const Json& json) {
  CallPlace place;
  place.number = static_cast<std::uint64_t>(numberOf(member(json, "call"), "call", 1));
  place.thread =
      static_cast<unsigned>(numberOf(member(json, "thread"), "thread", 1, std::numeric_limits<std::int32_t>::max()));
  place.after = static_cast<std::uint64_t>(countAt(json, "after"));
  place.at = countAt(json, "at");
  return place;
}

FileMark fileOf(const Json& json, std::string_view key, bool isKey) {
  if (!json.is_object()) {
    failAt(key, "the mark of a file");
  }
  if (json.contains("unreadable")) {
    return {};
  }
  return {true, static_cast<std::uint64_t>(countAt(json, "bytes")), textAt(json, isKey ? "salted_sha256" : "sha256")};
}

Input inputOf(const Json& inputs, const device::Parameter& parameter, bool isKey) {
  Input input;
  const auto found = inputs.find(std::string(parameter.name));
  if (found == inputs.end() && parameter.direction == Direction::kOutput) {
    return input;
  }
  const Json& value = member(inputs, parameter.name);
  if (value.is_null() && parameter.direction != Direction::kValue) {
    input.kind = Input::Kind::kNull;
    return input;
  }
  switch (parameter.direction) {
    case Direction::kValue:
      input.kind = Input::Kind::kNumber;
      input.number = numberOf(value, parameter.name, std::numeric_limits<std::int64_t>::min());
      return input;
    case Direction::kInput:
      input.kind = Input::Kind::kBytes;
      input.bytes = bytesOf(textAt(inputs, parameter.name), parameter.name);
      return input;
    case Direction::kText:
      input.kind = Input::Kind::kFile;
      input.file = fileOf(value, parameter.name, isKey);
      return input;
    case Direction::kProgress:
      if (!truthAt(inputs, parameter.name)) {
        failAt(parameter.name, "true or null");
      }
      input.kind = Input::Kind::kCallback;
      return input;
    case Direction::kOutput:
      break;
  }
  failAt(parameter.name, "null");
}

CallImage imageOf(const Json& json) {
  const device::OperationDescription* const operation = device::findOperation(textAt(json, "op"));
  if (operation == nullptr) {
    throw LineError("\"op\" is none of the library's operations");
  }
  CallImage image;
  image.operation = operation->id;
  const Json& inputs = objectAt(json, "in");
  for (std::size_t i = 0; i < operation->parameterCount; ++i) {
    image.inputs[i] = inputOf(inputs, operation->parameters()[i], image.operation == device::Operation::burnHDCP);
  }
  return image;
}

OutputRun runOf(const std::string& text, std::string_view key) {
  const std::size_t colon = text.find(':');
  OutputRun run;
  const char* const end = text.data() + std::min(colon, text.size());
  const auto offset = std::from_chars(text.data(), end, run.offset);
  if (colon == std::string::npos || offset.ec != std::errc() || offset.ptr != end || run.offset > kMaxBufferSize) {
    failAt(key, "an offset and bytes");
  }
  run.bytes = bytesOf(std::string_view(text).substr(colon + 1), key);
  return run;
}

void readAnswer(const Json& json, CallImage& image, std::int64_t& took) {
  const Json& outputs = objectAt(json, "out");
  const auto parameters = image.description().parameters();
  std::size_t known = 0;
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    if (parameters[i].direction == Direction::kOutput && outputs.contains(std::string(parameters[i].name))) {
      image.outputs[i] = runOf(textAt(outputs, parameters[i].name), parameters[i].name);
      ++known;
    }
  }
  if (known != outputs.size()) {
    throw LineError("\"out\" tells of a buffer that the operation does not write");
  }
  image.result =
      static_cast<std::int32_t>(numberOf(member(json, "result"), "result", std::numeric_limits<std::int32_t>::min(),
                                         std::numeric_limits<std::int32_t>::max()));
  took = countAt(json, "took");
}

float percentOf(const std::string& text) {
  float percent = 0;
  const char* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, percent);
  if (error != std::errc() || end != last) {
    failAt("percent", "a number");
  }
  return percent;
}

Header headerOf(const Json& json, PartMark& part) {
  if (countAt(json, "format") != 1) {
    throw LineError("the recording is of a format that this program does not know");
  }
  Header header;
  header.library = textAt(json, "library");
  header.librarySha256 = textAt(json, "library_sha256");
  header.simulated = truthAt(json, "simulated");
  header.recorder = textAt(json, "recorder");
  header.utc = textAt(json, "utc");
  header.salt = textAt(json, "salt");
  header.redacted = truthAt(json, "redacted");
  // All recorders that did not write it kept this many.
  constexpr std::int64_t kKeptBefore = 16;
  part = {countAt(json, "part"), textAt(json, "follows"),
          json.contains("keeps") ? countAt(json, "keeps") : kKeptBefore};
  return header;
}

}  // namespace

Line readLine(std::string_view text, PartMark& part) {
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_object()) {
    throw LineError("the line is no JSON object");
  }
  const std::string kind = textAt(json, "kind");
  if (kind == "header") {
    return headerOf(json, part);
  }
  if (kind == "call") {
    CallLine line{placeOf(json), imageOf(json), 0};
    readAnswer(json, line.image, line.took);
    return line;
  }
  if (kind == "begin") {
    return BeginLine{placeOf(json), imageOf(json)};
  }
  if (kind == "end") {
    EndLine line;
    line.number = static_cast<std::uint64_t>(countAt(json, "call"));
    // Changing operations write nothing back, so that this needs no operation.
    if (!objectAt(json, "out").empty()) {
      throw LineError("\"out\" tells of a buffer that the operation does not write");
    }
    readAnswer(json, line.image, line.took);
    return line;
  }
  if (kind == "progress") {
    return ProgressLine{placeOf(json), percentOf(textAt(json, "percent"))};
  }
  if (kind == "footer") {
    return FooterLine{truthAt(json, "last")};
  }
  throw LineError("\"kind\" is none of a recording's");
}

}  // namespace recorder
