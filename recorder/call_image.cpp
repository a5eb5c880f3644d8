#include "recorder/call_image.h"

#include <algorithm>

namespace recorder {
namespace {

using device::Direction;
using device::Operation;

void noteInput(Input& input, const device::Parameter& parameter, std::size_t index,
               std::span<const RawArgument> arguments, std::string_view keySalt) {
  const RawArgument& argument = arguments[index];
  input.bytes.clear();
  input.number = 0;
  input.file = {};
  if (parameter.direction == Direction::kValue) {
    input.kind = Input::Kind::kNumber;
    input.number = argument.number;
    return;
  }
  if (argument.address == 0) {
    input.kind = Input::Kind::kNull;
    return;
  }
  switch (parameter.direction) {
    case Direction::kInput: {
      const auto bytes = bufferAt(parameter, index, arguments);
      input.kind = Input::Kind::kBytes;
      input.bytes.assign(bytes.begin(), bytes.end());
      return;
    }
    case Direction::kText:
      input.kind = Input::Kind::kFile;
      input.file = markOf(pathOfUtf8(typedArgument<const char*>(argument)), keySalt);
      return;
    case Direction::kProgress:
      input.kind = Input::Kind::kCallback;
      return;
    case Direction::kOutput:
    case Direction::kValue:
      input.kind = Input::Kind::kNothing;
      return;
  }
}

}  // namespace

std::size_t bufferSize(const device::Parameter& parameter, std::span<const RawArgument> arguments) {
  if (!parameter.countedBy) {
    return parameter.bytes;
  }
  const std::int64_t count = arguments[*parameter.countedBy].number;
  return count <= 0 ? 0 : std::min(static_cast<std::size_t>(count), kMaxBufferSize);
}

std::span<std::uint8_t> bufferAt(const device::Parameter& parameter, std::size_t index,
                                 std::span<const RawArgument> arguments) {
  auto* const start = typedArgument<std::uint8_t*>(arguments[index]);
  return start == nullptr ? std::span<std::uint8_t>() : std::span(start, bufferSize(parameter, arguments));
}

void noteInputs(CallImage& image, Operation operation, std::span<const RawArgument> arguments,
                std::string_view keySalt) {
  image.operation = operation;
  image.result = 0;
  const auto parameters = device::describe(operation).parameters();
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    noteInput(image.inputs[i], parameters[i], i, arguments,
              operation == Operation::burnHDCP ? keySalt : std::string_view());
    image.outputs[i].bytes.clear();
  }
}

void OutputWatch::begin(const device::OperationDescription& operation, std::span<const RawArgument> arguments) {
  const auto parameters = operation.parameters();
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    before_[i].clear();
    if (parameters[i].direction == Direction::kOutput) {
      const auto buffer = bufferAt(parameters[i], i, arguments);
      before_[i].assign(buffer.begin(), buffer.end());
    }
  }
}

void OutputWatch::end(CallImage& image, std::span<const RawArgument> arguments) const {
  const auto parameters = image.description().parameters();
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    OutputRun& run = image.outputs[i];
    run.bytes.clear();
    if (before_[i].empty()) {
      continue;
    }
    const auto after = bufferAt(parameters[i], i, arguments);
    const auto first = std::mismatch(after.begin(), after.end(), before_[i].begin()).first;
    if (first == after.end()) {
      continue;
    }
    const auto last = std::mismatch(after.rbegin(), after.rend(), before_[i].rbegin()).first;
    run.offset = static_cast<std::size_t>(first - after.begin());
    run.bytes.assign(first, last.base());
  }
}

void putOutput(const OutputRun& run, std::span<std::uint8_t> buffer) {
  if (run.offset >= buffer.size()) {
    return;
  }
  const std::size_t count = std::min(run.bytes.size(), buffer.size() - run.offset);
  std::copy_n(run.bytes.begin(), count, buffer.begin() + static_cast<std::ptrdiff_t>(run.offset));
}

}  // namespace recorder
