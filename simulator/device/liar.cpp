#include "simulator/device/liar.h"

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

void Liar::start(const Lies& lies) {
  for (const unsigned rate : {lies.flipRead, lies.flipWrite, lies.shortRead, lies.silentWrite}) {
    if (rate > kAlways) {
      throw std::invalid_argument("a rate is one of 0 to 1000 transfers of a thousand");
    }
  }
  lies_ = lies;
  random_.seed(lies.seed);
  transfers_.clear();
}

std::int32_t Liar::transfer(std::size_t call, std::span<std::uint8_t> output,
                            const std::function<std::int32_t()>& body) {
  if (!lies_) {
    return body();
  }
  if (!begin(call)) {
    return kNoAnswer;
  }
  if (output.empty()) {
    return swallows() ? kOk : body();
  }
  if (output.data() == nullptr) {
    return body();
  }
  const std::vector<std::uint8_t> before(output.begin(), output.end());
  const std::int32_t status = body();
  return status < 0 ? status : read(before, output, status);
}

bool Liar::begin(std::size_t call) {
  if (!lies_) {
    return true;
  }
  const bool acknowledged = !lies_->acknowledged || transfers_.size() < *lies_->acknowledged;
  transfers_.push_back({call, acknowledged ? Transfer::Lie::kNone : Transfer::Lie::kNoAcknowledge, {}});
  return acknowledged;
}

bool Liar::swallows() {
  if (!lies_ || !happens(lies_->silentWrite)) {
    return false;
  }
  transfers_.back().lie = Transfer::Lie::kSilentWrite;
  return true;
}

std::vector<std::uint8_t> Liar::arriving(std::span<const std::uint8_t> bytes) {
  std::vector<std::uint8_t> arrived(bytes.begin(), bytes.end());
  if (!lies_) {
    return arrived;
  }
  if (!arrived.empty() && happens(lies_->flipWrite)) {
    flip(arrived);
    transfers_.back().lie = Transfer::Lie::kFlippedWrite;
  }
  transfers_.back().bytes = arrived;
  return arrived;
}

std::int32_t Liar::read(std::span<const std::uint8_t> before, std::span<std::uint8_t> output, std::int32_t status) {
  const std::size_t size = answerSize(before, output);
  std::int32_t told = status;
  if (happens(lies_->shortRead)) {
    const std::size_t filled = below(size);
    std::copy(before.begin() + static_cast<std::ptrdiff_t>(filled), before.end(),
              output.begin() + static_cast<std::ptrdiff_t>(filled));
    told = std::min(status, static_cast<std::int32_t>(filled));  // of an operation that returns a length
    transfers_.back().lie = Transfer::Lie::kShortRead;
  } else if (happens(lies_->flipRead)) {
    flip(output.first(size));
    transfers_.back().lie = Transfer::Lie::kFlippedRead;
  }
  transfers_.back().bytes.assign(output.begin(), output.end());
  return told;
}

bool Liar::happens(unsigned perMille) { return below(kAlways) < perMille; }

// Not a distribution of the standard library: the same seed must tell the same
// lies wherever this is built.
std::size_t Liar::below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }

// One bit, or seldom up to three, of which two may leave a sum as it was.
void Liar::flip(std::span<std::uint8_t> bytes) {
  const std::vector<std::uint8_t> before(bytes.begin(), bytes.end());
  const std::size_t count = below(2) == 0 ? 1 : 1 + below(3);
  do {
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t bit = below(8 * bytes.size());
      bytes[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
    }
  } while (std::equal(bytes.begin(), bytes.end(), before.begin()));
}

}  // namespace simulator
