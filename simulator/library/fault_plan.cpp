#include "simulator/library/fault_plan.h"

#include "device/operations.h"
#include "simulator/device/status.h"

#include <charconv>
#include <limits>
#include <optional>

namespace simulator {
namespace {

constexpr std::array<std::string_view, 5> kFaultKeys{"operation", "call", "count", "status", "answer"};
constexpr std::int64_t kMaxCall = 1'000'000'000;
constexpr std::size_t kMaxAnswer = 4096;

/// Reads bytes written as "00 1F".
std::optional<std::vector<std::uint8_t>> parseBytes(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  if (!text.empty() && text.size() % 3 != 2) {
    return std::nullopt;
  }
  for (std::size_t i = 0; i < text.size(); i += 3) {
    std::uint8_t byte = 0;
    const char* const first = text.data() + i;
    if (i != 0 && first[-1] != ' ') {
      return std::nullopt;
    }
    const auto [last, error] = std::from_chars(first, first + 2, byte, 16);
    if (error != std::errc() || last != first + 2) {
      return std::nullopt;
    }
    bytes.push_back(byte);
  }
  return bytes;
}

}  // namespace

void FaultPlan::configure(const Section& scenario) {
  for (const Section& fault : scenario.sections("faults", kFaultKeys)) {
    const auto operation = fault.choice("operation", device::kOperationNames);
    if (!operation) {
      fault.fail("operation", "is missing; name one of the library's operations");
    }
    Fault planned;
    planned.operation = device::kOperationNames[*operation];
    planned.call = static_cast<std::uint64_t>(fault.integer("call", 1, kMaxCall).value_or(1));
    planned.count = static_cast<std::uint64_t>(fault.integer("count", 0, kMaxCall).value_or(1));
    planned.status = static_cast<std::int32_t>(
        fault.integer("status", std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max())
            .value_or(kInjected));
    if (const auto answer = fault.text("answer", kMaxAnswer)) {
      const auto bytes = parseBytes(*answer);
      if (!bytes) {
        fault.fail("answer", "must be bytes of two hexadecimal digits with blanks between, for example \"00 1F\"");
      }
      planned.answer = *bytes;
    }
    add(std::move(planned));
  }
}

const FaultPlan::Fault* FaultPlan::nextCall(std::string_view operation) {
  auto counter = calls_.find(operation);
  if (counter == calls_.end()) {
    counter = calls_.emplace(operation, 0).first;
  }
  const std::uint64_t call = ++counter->second;
  for (const Fault& fault : faults_) {
    if (fault.operation == operation && call >= fault.call && (fault.count == 0 || call - fault.call < fault.count)) {
      return &fault;
    }
  }
  return nullptr;
}

}  // namespace simulator
