#include "simulator/device/transfers.h"

#include "simulator/device/fault_plan.h"
#include "simulator/device/status.h"

#include <algorithm>
#include <stdexcept>

namespace simulator {
namespace {

constexpr unsigned kAlways = 1000;

}  // namespace

void Transfers::start(const std::vector<Fault>& faults, std::uint64_t seed) {
  for (const Fault& fault : faults) {
    if (fault.at < FaultPoint::kTransfer || fault.at > FaultPoint::kWrite || fault.first == 0) {
      throw std::invalid_argument("not a fault of transfers, or of none of them");
    }
    if (fault.perMille > kAlways) {
      throw std::invalid_argument("a rate is one of 0 to 1000 transfers of a thousand");
    }
  }
  faults_.removeAt(FaultPoint::kTransfer, FaultPoint::kWrite);
  for (const FaultPoint at : {FaultPoint::kTransfer, FaultPoint::kRead, FaultPoint::kWrite}) {
    faults_.resetCount(at);
  }
  faults_.seed(seed);
  for (const Fault& fault : faults) {
    faults_.add(fault);
  }
  records_ = true;
  record_.clear();
}

std::int32_t Transfers::write(std::size_t call, const std::function<std::int32_t()>& body) {
  if (!begin(call)) {
    return kNoAnswer;
  }
  return ignoresWrite() ? kOk : body();
}

std::int32_t Transfers::read(std::size_t call, std::span<std::uint8_t> output, const std::function<Answer()>& body) {
  if (!begin(call)) {
    return kNoAnswer;
  }
  Answer answer = body();
  if (answer.status < 0) {
    return answer.status;
  }
  const auto asked = output.first(answer.bytes.size());
  spoil(answer);
  std::copy(answer.bytes.begin(), answer.bytes.end(), asked.begin());
  note(std::span<const std::uint8_t>(asked));
  return answer.status;
}

bool Transfers::begin(std::size_t call) {
  const Fault* const fault = faults_.next(FaultPoint::kTransfer);
  const bool isAcknowledged = !fault || fault->what != FaultEffect::kNotAcknowledged;
  if (fault && fault->what == FaultEffect::kUnplug) {
    faults_.requestUnplug(*fault);
  }
  if (records_) {
    record_.push_back({call, isAcknowledged ? std::nullopt : std::optional(FaultEffect::kNotAcknowledged), {}});
  }
  return isAcknowledged;
}

bool Transfers::ignoresWrite() {
  if (!happens(FaultPoint::kWrite, FaultEffect::kIgnored)) {
    return false;
  }
  note(FaultEffect::kIgnored);
  return true;
}

std::vector<std::uint8_t> Transfers::arriving(std::span<const std::uint8_t> bytes) {
  std::vector<std::uint8_t> arrived(bytes.begin(), bytes.end());
  if (!arrived.empty() && happens(FaultPoint::kWrite, FaultEffect::kDamage)) {
    flip(arrived);
    note(FaultEffect::kDamage);
  }
  note(arrived);
  return arrived;
}

void Transfers::spoil(Answer& answer) {
  if (answer.bytes.empty()) {
    return;
  }
  if (happens(FaultPoint::kRead, FaultEffect::kShort)) {
    answer.bytes.resize(faults_.below(answer.bytes.size()));
    // Of an operation that returns a length.
    answer.status = std::min(answer.status, static_cast<std::int32_t>(answer.bytes.size()));
    note(FaultEffect::kShort);
  } else if (happens(FaultPoint::kRead, FaultEffect::kMisread)) {
    flip(answer.bytes);
    note(FaultEffect::kMisread);
  }
}

bool Transfers::happens(FaultPoint at, FaultEffect what) { return faults_.nextWith(at, what) != nullptr; }

void Transfers::note(FaultEffect fault) {
  if (records_) {
    record_.back().fault = fault;
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
