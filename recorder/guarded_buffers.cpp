#include "recorder/guarded_buffers.h"

#include <algorithm>

namespace recorder {
namespace {

// No two calls meet the same guard, so that a library that writes always the
// same cannot hide permanently.
std::uint8_t guardByte(std::uint32_t& state) {
  state = state * 1'664'525U + 1'013'904'223U;
  return static_cast<std::uint8_t>(state >> 24);
}

std::size_t changed(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    count += a[i] != b[i] ? 1 : 0;
  }
  return count;
}

}  // namespace

GuardedBuffers::GuardedBuffers(const device::OperationDescription& operation, std::span<RawArgument> arguments) {
  static thread_local std::uint32_t state = 1;
  const auto parameters = operation.parameters();
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const device::Parameter& parameter = parameters[i];
    const bool isOutput = parameter.direction == device::Direction::kOutput;
    if ((!isOutput && parameter.direction != device::Direction::kInput) || arguments[i].address == 0) {
      continue;
    }
    const std::span<std::uint8_t> callers = bufferAt(parameter, i, arguments);
    Bytes memory(kGuard + callers.size() + kGuard);
    std::generate(memory.begin(), memory.end(), [] { return guardByte(state); });
    std::copy(callers.begin(), callers.end(), memory.begin() + kGuard);
    buffers_.push_back({parameter.name, callers, std::move(memory), {}, isOutput});
    buffers_.back().before = buffers_.back().memory;
    arguments[i] = rawArgument(buffers_.back().memory.data() + kGuard);
  }
}

std::vector<Overrun> GuardedBuffers::release() {
  std::vector<Overrun> overruns;
  for (const Buffer& buffer : buffers_) {
    const std::size_t size = buffer.callers.size();
    const auto now = std::span(buffer.memory);
    const auto then = std::span(buffer.before);
    Overrun overrun{buffer.parameter};
    overrun.before = changed(now.first(kGuard), then.first(kGuard));
    overrun.within = buffer.isOutput ? 0 : changed(now.subspan(kGuard, size), then.subspan(kGuard, size));
    overrun.after = changed(now.last(kGuard), then.last(kGuard));
    for (std::size_t i = 0; i < kGuard; ++i) {
      overrun.reach = now[kGuard + size + i] != then[kGuard + size + i] ? i + 1 : overrun.reach;
    }
    if (overrun.before + overrun.within + overrun.after > 0) {
      overruns.push_back(overrun);
    }
    if (buffer.isOutput) {
      std::copy_n(now.begin() + kGuard, size, buffer.callers.begin());
    }
  }
  return overruns;
}

}  // namespace recorder
