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

void Transfers::start(const std::vector<Fault>& faults, std::uint64_t seed) {
  for (const Fault& fault : faults) {
    if (fault.at < FaultPoint::kTransfer || fault.at > FaultPoint::kWrite || fault.first == 0) {
      throw std::invalid_argument("not a fault of transfers, or of none of them");
    }
    if (fault.perMille.value_or(0) > kAlways) {
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

std::int32_t Transfers::transfer(std::size_t call, std::span<std::uint8_t> output,
                                 const std::function<std::int32_t()>& body) {
  if (!isWatched()) {
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
  if (!isWatched()) {
    return true;
  }
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
  if (!isWatched()) {
    return arrived;
  }
  if (!arrived.empty() && happens(FaultPoint::kWrite, FaultEffect::kDamage)) {
    flip(arrived);
    note(FaultEffect::kDamage);
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
    note(FaultEffect::kShort);
  } else if (happens(FaultPoint::kRead, FaultEffect::kMisread)) {
    flip(output.first(size));
    note(FaultEffect::kMisread);
  }
  note(std::span<const std::uint8_t>(output));
  return told;
}

bool Transfers::happens(FaultPoint at, FaultEffect what) {
  return isWatched() && faults_.nextWith(at, what) != nullptr;
}

bool Transfers::isWatched() const { return records_ || faults_.hasAt(FaultPoint::kTransfer, FaultPoint::kWrite); }

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
