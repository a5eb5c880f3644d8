#include "simulator/device/transfers.h"

#include "simulator/device/fault_plan.h"
#include "simulator/device/status.h"

#include <algorithm>
#include <stdexcept>

namespace simulator {
namespace {

constexpr unsigned kAlways = 1000;

// Bytes at the beginning of a buffer that an answer surely has, also where they
// equal what stood there before: those of a register.
constexpr std::size_t kRegisterSize = 4;

std::size_t answerSize(std::span<const std::uint8_t> before, std::span<const std::uint8_t> after) {
  std::size_t size = after.size();
  while (size > std::min(kRegisterSize, after.size()) && before[size - 1] == after[size - 1]) {
    --size;
  }
  return size;
}

}  // namespace

void Transfers::start(const Lies& lies) {
  for (const unsigned rate : {lies.flipRead, lies.flipWrite, lies.shortRead, lies.silentWrite}) {
    if (rate > kAlways) {
      throw std::invalid_argument("a rate is one of 0 to 1000 transfers of a thousand");
    }
  }
  faults_.removeAt(FaultPoint::kTransfer, FaultPoint::kWrite);
  faults_.resetCount(FaultPoint::kTransfer);
  faults_.seed(lies.seed);
  const auto add = [this](FaultPoint at, FaultEffect what, unsigned rate) {
    faults_.add({.at = at, .perMille = rate, .what = what});
  };
  add(FaultPoint::kRead, FaultEffect::kMisread, lies.flipRead);
  add(FaultPoint::kRead, FaultEffect::kShort, lies.shortRead);
  add(FaultPoint::kWrite, FaultEffect::kDamage, lies.flipWrite);
  add(FaultPoint::kWrite, FaultEffect::kIgnored, lies.silentWrite);
  if (lies.acknowledged) {
    faults_.add({.at = FaultPoint::kTransfer,
                 .first = std::uint64_t{*lies.acknowledged} + 1,
                 .count = 0,
                 .what = FaultEffect::kNotAcknowledged});
  }
  records_ = true;
  record_.clear();
}

std::int32_t Transfers::transfer(std::size_t call, std::span<std::uint8_t> output,
                                 const std::function<std::int32_t()>& body) {
  if (!hasFaults()) {
    return body();
  }
  if (!begin(call)) {
    return kNoAnswer;
  }
  if (output.empty()) {
    return ignoresWrite() ? kOk : body();
  }
  if (output.data() == nullptr) {
    return body();
  }
  const std::vector<std::uint8_t> before(output.begin(), output.end());
  const std::int32_t status = body();
  return status < 0 ? status : read(before, output, status);
}

bool Transfers::begin(std::size_t call) {
  if (!hasFaults()) {
    return true;
  }
  const Fault* const fault = faults_.next(FaultPoint::kTransfer);
  const bool isAcknowledged = !fault || fault->what != FaultEffect::kNotAcknowledged;
  if (fault && fault->what == FaultEffect::kUnplug) {
    faults_.requestUnplug(*fault);
  }
  if (records_) {
    record_.push_back({call, isAcknowledged ? Transfer::Lie::kNone : Transfer::Lie::kNoAcknowledge, {}});
  }
  return isAcknowledged;
}

bool Transfers::ignoresWrite() {
  if (!happens(FaultPoint::kWrite, FaultEffect::kIgnored)) {
    return false;
  }
  note(Transfer::Lie::kSilentWrite);
  return true;
}

std::vector<std::uint8_t> Transfers::arriving(std::span<const std::uint8_t> bytes) {
  std::vector<std::uint8_t> arrived(bytes.begin(), bytes.end());
  if (!hasFaults()) {
    return arrived;
  }
  if (!arrived.empty() && happens(FaultPoint::kWrite, FaultEffect::kDamage)) {
    flip(arrived);
    note(Transfer::Lie::kFlippedWrite);
  }
  note(arrived);
  return arrived;
}

std::int32_t Transfers::read(std::span<const std::uint8_t> before, std::span<std::uint8_t> output,
                             std::int32_t status) {
  const std::size_t size = answerSize(before, output);
  std::int32_t told = status;
  if (happens(FaultPoint::kRead, FaultEffect::kShort)) {
    const std::size_t filled = faults_.below(size);
    std::copy(before.begin() + static_cast<std::ptrdiff_t>(filled), before.end(),
              output.begin() + static_cast<std::ptrdiff_t>(filled));
    told = std::min(status, static_cast<std::int32_t>(filled));  // of an operation that returns a length
    note(Transfer::Lie::kShortRead);
  } else if (happens(FaultPoint::kRead, FaultEffect::kMisread)) {
    flip(output.first(size));
    note(Transfer::Lie::kFlippedRead);
  }
  note(std::span<const std::uint8_t>(output));
  return told;
}

bool Transfers::happens(FaultPoint at, FaultEffect what) {
  return hasFaults() && faults_.nextWith(at, what) != nullptr;
}

bool Transfers::hasFaults() const { return faults_.hasAt(FaultPoint::kTransfer, FaultPoint::kWrite); }

void Transfers::note(Transfer::Lie lie) {
  if (records_) {
    record_.back().lie = lie;
  }
}

void Transfers::note(std::span<const std::uint8_t> bytes) {
  if (records_) {
    record_.back().bytes.assign(bytes.begin(), bytes.end());
  }
}

// One bit, or seldom up to three, of which two may leave a sum as it was.
void Transfers::flip(std::span<std::uint8_t> bytes) {
  const std::vector<std::uint8_t> before(bytes.begin(), bytes.end());
  const std::size_t count = faults_.below(2) == 0 ? 1 : 1 + faults_.below(3);
  do {
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t bit = faults_.below(8 * bytes.size());
      bytes[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
    }
  } while (std::equal(bytes.begin(), bytes.end(), before.begin()));
}

}  // namespace simulator
