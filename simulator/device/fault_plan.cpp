#include "simulator/device/fault_plan.h"

#include "device/operations.h"
#include "simulator/device/status.h"
#include "simulator/scenario/scenario_tree.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>

namespace simulator {
namespace {

constexpr unsigned kCertain = 1000;
constexpr std::int64_t kMaxCounted = 1'000'000'000;
constexpr std::size_t kMaxAnswer = 1365;

constexpr auto kFaultKeys = std::to_array<std::string_view>(
    {"at", "first", "count", "perMille", "fromPercent", "what", "status", "answer", "length", "delayMs", "polls"});

struct Effect {
  std::string_view name;
  FaultEffect what;
};
constexpr auto kEffects = std::to_array<Effect>({
    {"answer", FaultEffect::kAnswer},
    {"delay", FaultEffect::kDelay},
    {"unplug", FaultEffect::kUnplug},
    {"notAcknowledged", FaultEffect::kNotAcknowledged},
    {"lost", FaultEffect::kLost},
    {"ignored", FaultEffect::kIgnored},
    {"damage", FaultEffect::kDamage},
    {"misread", FaultEffect::kMisread},
    {"short", FaultEffect::kShort},
    {"busy", FaultEffect::kBusy},
});

/// A point, and what can happen there.
struct Point {
  std::string_view name;
  FaultPoint at;
  std::span<const FaultEffect> effects;
  std::int32_t status = kInjected;  ///< when the fault names none
};

using What = FaultEffect;
constexpr auto kOfCalls = std::to_array({What::kAnswer, What::kDelay, What::kUnplug});
constexpr auto kOfTransfers = std::to_array({What::kNotAcknowledged, What::kUnplug});
constexpr auto kOfReads = std::to_array({What::kMisread, What::kShort});
constexpr auto kOfWrites = std::to_array({What::kDamage, What::kIgnored});
constexpr auto kOfBurns = std::to_array({What::kAnswer, What::kUnplug});
constexpr auto kOfMcuTransfers = std::to_array({What::kNotAcknowledged, What::kLost, What::kUnplug});
constexpr auto kOfSetBoot = std::to_array({What::kNotAcknowledged, What::kLost, What::kBusy, What::kUnplug});
constexpr auto kOfPackets =
    std::to_array({What::kNotAcknowledged, What::kLost, What::kDamage, What::kMisread, What::kBusy, What::kUnplug});

constexpr Point kOperationPoint{"", FaultPoint::kOperation, kOfCalls};
constexpr auto kPoints = std::to_array<Point>({
    {"call", FaultPoint::kCall, kOfCalls},
    {"transfer", FaultPoint::kTransfer, kOfTransfers},
    {"read", FaultPoint::kRead, kOfReads},
    {"write", FaultPoint::kWrite, kOfWrites},
    {"captureFlash", FaultPoint::kCaptureFlash, kOfBurns, kFlashFault},
    {"mcu.transfer", FaultPoint::kMcuTransfer, kOfMcuTransfers},
    {"mcu.reset", FaultPoint::kMcuReset, kOfMcuTransfers},
    {"mcu.setBoot", FaultPoint::kMcuSetBoot, kOfSetBoot},
    {"mcu.packet", FaultPoint::kMcuPacket, kOfPackets},
    {"mcu.start", FaultPoint::kMcuStart, kOfPackets},
    {"mcu.address", FaultPoint::kMcuAddress, kOfPackets},
    {"mcu.data", FaultPoint::kMcuData, kOfPackets},
    {"mcu.finish", FaultPoint::kMcuFinish, kOfPackets},
});

constexpr std::size_t kPlaces = kPoints.size() + device::kOperationNames.size();
/// The points inside the device, then the operations.
constexpr auto kPlaceNames = [] {
  std::array<std::string_view, kPlaces> names{};
  for (std::size_t i = 0; i < names.size(); ++i) {
    names[i] = i < kPoints.size() ? kPoints[i].name : device::kOperationNames[i - kPoints.size()];
  }
  return names;
}();

std::string_view nameOf(FaultEffect what) {
  return std::find_if(kEffects.begin(), kEffects.end(), [what](const Effect& effect) { return effect.what == what; })
      ->name;
}

FaultEffect readEffect(const Section& section, const Point& where) {
  std::vector<std::string_view> names;
  for (const FaultEffect effect : where.effects) {
    names.push_back(nameOf(effect));
  }
  if (const auto index = section.choice("what", names)) {
    return where.effects[*index];
  }
  if (where.effects[0] != What::kAnswer) {
    section.fail("what", "is missing; known here: " + joinedWords(names));
  }
  return What::kAnswer;
}

void readTimes(const Section& section, Fault& fault) {
  fault.first = static_cast<std::uint64_t>(section.integer("first", 1, kMaxCounted).value_or(1));
  fault.count = static_cast<std::uint64_t>(section.integer("count", 0, kMaxCounted).value_or(1));
  if (const auto rate = section.integer("perMille", 0, kCertain)) {
    fault.perMille = static_cast<unsigned>(*rate);
  }
  fault.fromPercent = section.number("fromPercent", 0, 100);
  if (fault.fromPercent && fault.at != FaultPoint::kCaptureFlash) {
    section.fail("fromPercent", "is the progress of a burn; it needs \"at\": \"captureFlash\"");
  }
}

void readAnswer(const Section& section, const Point& where, Fault& fault) {
  fault.status = static_cast<std::int32_t>(
      section.integer("status", std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max())
          .value_or(where.status));
  if (const auto answer = section.bytes("answer", kMaxAnswer)) {
    fault.answer = *answer;
  }
  if (const auto length = section.integer("length", 0, std::numeric_limits<std::uint32_t>::max())) {
    fault.length = static_cast<std::uint32_t>(*length);
  }
}

Fault readFault(const Section& section) {
  const auto place = section.choice("at", kPlaceNames);
  if (!place) {
    section.fail("at", "is missing; name one of the library's operations or a point in the device");
  }
  const bool isPoint = *place < kPoints.size();
  const Point& where = isPoint ? kPoints[*place] : kOperationPoint;
  Fault fault;
  fault.at = where.at;
  fault.operation = isPoint ? "" : kPlaceNames[*place];
  fault.what = readEffect(section, where);
  readTimes(section, fault);
  readAnswer(section, where, fault);
  if (const auto delay = section.milliseconds("delayMs", 0)) {
    fault.delay = *delay;
  }
  fault.polls = static_cast<unsigned>(section.integer("polls", 0, kMaxCounted).value_or(0));
  return fault;
}

}  // namespace

void FaultPlan::configure(const Section& scenario) {
  if (const auto number = scenario.integer("seed", 0, std::numeric_limits<std::int64_t>::max())) {
    seed(static_cast<std::uint64_t>(*number));
  }
  if (const auto calls = scenario.integer("unplugAfterCalls", 0, kMaxCounted)) {
    add({.at = FaultPoint::kCall, .first = static_cast<std::uint64_t>(*calls) + 1, .what = What::kUnplug});
  }
  for (const Section& fault : scenario.sections("faults", kFaultKeys)) {
    add(readFault(fault));
  }
}

void FaultPlan::removeAt(FaultPoint first, FaultPoint last) {
  std::erase_if(faults_, [&](const Planned& planned) { return planned.fault.at >= first && planned.fault.at <= last; });
}

const Fault* FaultPlan::next(FaultPoint at, std::string_view operation, BurnProgress burn) {
  const std::uint64_t number = ++counts_[{at, std::string(operation)}];
  for (Planned& planned : faults_) {
    const Fault& fault = planned.fault;
    if (fault.at == at && fault.operation == operation && concerns(planned, number, burn)) {
      return &fault;
    }
  }
  return nullptr;
}

const Fault* FaultPlan::nextWith(FaultPoint at, FaultEffect what) {
  const std::uint64_t number = ++counts_[{at, std::string(nameOf(what))}];
  for (Planned& planned : faults_) {
    const Fault& fault = planned.fault;
    if (fault.at == at && fault.what == what && concerns(planned, number, {})) {
      return &fault;
    }
  }
  return nullptr;
}

std::uint64_t FaultPlan::count(FaultPoint at) const { return counts_.at({at, {}}); }

void FaultPlan::resetCount(FaultPoint at) {
  std::erase_if(counts_, [at](const auto& count) { return count.first.at == at; });
}

// Not a distribution of the standard library: the same seed must give the same
// faults on every platform.
std::size_t FaultPlan::below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }

bool FaultPlan::concerns(Planned& planned, std::uint64_t number, BurnProgress burn) {
  const Fault& fault = planned.fault;
  if (fault.fromPercent) {
    // Counts the burns that get so far, each at its first step from there on.
    if (burn.percent < *fault.fromPercent) {
      return false;
    }
    planned.burns += planned.lastBurn == burn.burn ? 0 : 1;
    planned.lastBurn = burn.burn;
    number = planned.burns;
  }
  if (number < fault.first) {
    return false;
  }
  if (fault.perMille) {
    return below(kCertain) < *fault.perMille;
  }
  return fault.count == 0 || number - fault.first < fault.count;
}

}  // namespace simulator
