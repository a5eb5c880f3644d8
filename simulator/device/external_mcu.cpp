#include "simulator/device/external_mcu.h"

#include "simulator/scenario/scenario_tree.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <numeric>
#include <utility>

namespace simulator {
namespace {

using namespace std::chrono_literals;

constexpr auto kMcuKeys = std::to_array<std::string_view>({"family", "version", "mode"});
enum class Mode { kApplication, kBootLoader, kSilent };
constexpr auto kModes = std::to_array<Choice<Mode>>(
    {{"application", Mode::kApplication}, {"bootLoader", Mode::kBootLoader}, {"silent", Mode::kSilent}});
constexpr std::size_t kMaxText = 100;

constexpr std::uint8_t kFamilyRegister = 0x00;
constexpr std::uint8_t kVersionRegister = 0x02;  // the application's
constexpr std::uint8_t kResetRegister = 0x08;
constexpr std::uint8_t kPacketRegister = 0x00;  // the boot loader's
constexpr std::uint8_t kStatusRegister = 0x01;
constexpr std::uint8_t kChecksumRegister = 0x02;
constexpr std::uint8_t kReady = 0x01;
constexpr std::uint8_t kNotReady = 0x00;
constexpr std::uint8_t kUnusedRegister = 0xFF;
constexpr std::uint8_t kErasedByte = 0xFF;

constexpr std::size_t kPacketSize = 68;
constexpr std::size_t kPayloadOffset = 3;
constexpr std::size_t kPayloadSize = 64;
constexpr std::uint8_t kMarker = 0x5A;
constexpr std::uint8_t kStart = 0xA1;
constexpr std::uint8_t kAddress = 0xA2;
constexpr std::uint8_t kData = 0xA3;
constexpr std::uint8_t kFinish = 0xA4;

/// Reads a byte written as "0x12".
std::optional<std::uint8_t> parseByte(std::string_view text) {
  if (!text.starts_with("0x") || text.size() > 4) {
    return std::nullopt;
  }
  std::uint8_t byte = 0;
  const char* const end = text.data() + text.size();
  const auto [last, error] = std::from_chars(text.data() + 2, end, byte, 16);
  return error == std::errc() && last == end ? std::optional(byte) : std::nullopt;
}

/// What a packet is counted as; nothing for a command that does not exist.
std::optional<FaultPoint> pointOf(std::span<const std::uint8_t> packet) {
  switch (packet[2]) {
    case kStart:
      return FaultPoint::kMcuStart;
    case kAddress:
      return FaultPoint::kMcuAddress;
    case kData:
      return FaultPoint::kMcuData;
    case kFinish:
      return FaultPoint::kMcuFinish;
    default:
      return std::nullopt;
  }
}

}  // namespace

const std::array<ExternalMcu::Family, 2> ExternalMcu::kFamilies{{
    {'2', 0x08005000, 1024, 108UL * 1024, 40ms, 25ms},
    {'v', 0x00000000, 128, 64UL * 1024, 10ms, 5ms},
}};

ExternalMcu::ExternalMcu(const Clock& clock, FaultPlan& faults) : clock_(clock), faults_(faults) {
  setFamily(familyCode_);
}

void ExternalMcu::configure(const Section& scenario) {
  const auto mcu = scenario.section("externalMcu", kMcuKeys);
  if (!mcu) {
    return;
  }
  const auto byteOf = [&mcu](std::string_view key, const std::string& text, const char* remedy) {
    const auto byte = parseByte(text);
    if (!byte) {
      mcu->fail(key, remedy);
    }
    return *byte;
  };
  if (const auto version = mcu->text("version", kMaxText)) {
    factoryVersion_ = byteOf("version", *version,
                             R"(must be a byte from "0x00" to "0xFF"; its halves are the version's two numbers)");
  }
  std::uint8_t code = familyCode_;
  if (const auto family = mcu->text("family", kMaxText)) {
    code = *family == "2" || *family == "v"
               ? static_cast<std::uint8_t>(family->front())
               : byteOf("family", *family, R"(must be "2", "v" or, for an unknown family, a byte such as "0x41")");
  }
  setFamily(code);
  if (const auto mode = mcu->choice("mode", kModes)) {
    silent_ = *mode == Mode::kSilent;
    if (*mode == Mode::kBootLoader) {
      applicationValid_ = false;
      enterBootLoader();
    }
  }
}

void ExternalMcu::setFamily(std::uint8_t code) {
  familyCode_ = code;
  const auto* const family = std::find_if(kFamilies.begin(), kFamilies.end(),
                                          [code](const Family& candidate) { return candidate.code == code; });
  family_ = family == kFamilies.end() ? nullptr : family;
  installFactoryFirmware();
}

void ExternalMcu::installFactoryFirmware() {
  // A fill pattern that differs from images of all 0x00 and all 0xFF.
  flash_.resize(family_ ? family_->capacity : kFamilies[0].capacity);
  std::iota(flash_.begin(), flash_.end(), std::uint8_t{0x55});
  flash_[kVersionOffset] = factoryVersion_;
}

void ExternalMcu::enterBootLoader() {
  inBootLoader_ = true;
  state_ = State::kIdle;
  checksum_ = 0;
  block_.clear();
  busyPolls_.reset();
  programming_ = false;
  workEnd_ = {};
}

void ExternalMcu::powerOff() {
  const std::chrono::nanoseconds now = clock_.now();
  if (programming_ && now < workEnd_) {
    const double done = std::chrono::duration<double>(now - workStart_) / (workEnd_ - workStart_);
    const auto written = static_cast<std::size_t>(done * static_cast<double>(family_->pageSize));
    const auto page = flash_.begin() + static_cast<std::ptrdiff_t>(page_);
    std::fill(page + static_cast<std::ptrdiff_t>(written), page + static_cast<std::ptrdiff_t>(family_->pageSize),
              kErasedByte);
  }
  programming_ = false;
}

void ExternalMcu::powerOn() {
  awayUntil_ = {};
  enterBootLoader();
  inBootLoader_ = !applicationValid_;
}

bool ExternalMcu::runsApplication() const {
  return !inBootLoader_ || (state_ == State::kFinished && !isBusy() &&
                            clock_.now() - std::max(lastTransfer_, workEnd_) >= kSilenceBeforeStart);
}

// Time starts the application, not a transfer; the next transfer takes note.
void ExternalMcu::settle(std::uint8_t address) {
  if (inBootLoader_ && (runsApplication() || address == kApplicationAddress)) {
    inBootLoader_ = false;
  }
  lastTransfer_ = clock_.now();
}

bool ExternalMcu::answersAt(std::uint8_t address) const {
  // On a clock that skips waiting, a caller that asks for the application has waited.
  const bool hasWaited =
      clock_.skipsWaiting() && state_ == State::kFinished && !isBusy() && address == kApplicationAddress;
  return !silent_ && clock_.now() >= awayUntil_ &&
         address == (hasWaited || runsApplication() ? kApplicationAddress : kBootLoaderAddress);
}

const Fault* ExternalMcu::faultAt(FaultPoint at) {
  const Fault* const fault = faults_.next(at);
  if (fault && fault->what == FaultEffect::kUnplug) {
    faults_.requestUnplug(*fault);  // behind what this transfer does
    return nullptr;
  }
  return fault;
}

bool ExternalMcu::write(std::uint8_t address, std::span<const std::uint8_t> bytes) {
  settle(address);
  const Fault* const fault = faultAt(FaultPoint::kMcuTransfer);
  if (fault && fault->what == FaultEffect::kNotAcknowledged) {
    return false;
  }
  const bool acknowledged = inBootLoader_ ? writeToBootLoader(bytes) : writeToApplication(bytes);
  return acknowledged && !fault;
}

bool ExternalMcu::read(std::uint8_t address, std::span<const std::uint8_t> index, std::span<std::uint8_t> result) {
  settle(address);
  const Fault* const fault = faultAt(FaultPoint::kMcuTransfer);
  if (index.size() != 1 || (fault && fault->what == FaultEffect::kNotAcknowledged)) {
    return false;
  }
  std::fill(result.begin(), result.end(), kUnusedRegister);
  if (index[0] == kFamilyRegister) {
    result[0] = familyCode_;
  } else if (inBootLoader_) {
    result[0] = bootLoaderRegister(index[0]);
  } else if (index[0] == kVersionRegister) {
    result[0] = flash_[kVersionOffset];
  }
  return !fault;
}

std::uint8_t ExternalMcu::bootLoaderRegister(std::uint8_t index) {
  if (index == kChecksumRegister) {
    return checksum_;
  }
  if (index != kStatusRegister) {
    return kUnusedRegister;
  }
  const bool busy = isBusy();
  if (busyPolls_ && *busyPolls_ != 0 && --*busyPolls_ == 0) {
    busyPolls_.reset();
  }
  return busy ? kNotReady : kReady;
}

bool ExternalMcu::isBusy() const { return busyPolls_.has_value() || clock_.now() < workEnd_; }

void ExternalMcu::work(std::chrono::nanoseconds nominal) {
  const std::chrono::nanoseconds time = clock_.scaled(nominal);
  workStart_ = clock_.now();
  workEnd_ = workStart_ + time;
  busyTime_ += time;
  programming_ = false;
}

bool ExternalMcu::writeToApplication(std::span<const std::uint8_t> bytes) {
  if (bytes.size() != 2 || bytes[0] != kResetRegister || bytes[1] != 0x01) {
    return true;  // nothing that the program uses
  }
  const Fault* const fault = faultAt(FaultPoint::kMcuReset);
  if (fault && fault->what == FaultEffect::kNotAcknowledged) {
    return false;
  }
  enterBootLoader();
  awayUntil_ = clock_.now() + clock_.scaled(kBootTime);
  return !fault;
}

bool ExternalMcu::writeToBootLoader(std::span<const std::uint8_t> bytes) {
  if (bytes[0] == kPacketRegister) {
    return receivePacket(bytes);
  }
  if (bytes.size() != 2 || bytes[0] != kStatusRegister || bytes[1] != 0x01) {
    return true;
  }
  const Fault* const fault = faultAt(FaultPoint::kMcuSetBoot);
  if (isBusy() || (fault && fault->what == FaultEffect::kNotAcknowledged)) {
    return false;
  }
  state_ = State::kIdle;
  work(kSetBootTime);
  if (fault && fault->what == FaultEffect::kBusy) {
    busyPolls_ = fault->polls;
  }
  return !fault || fault->what == FaultEffect::kBusy;
}

bool ExternalMcu::receivePacket(std::span<const std::uint8_t> bytes) {
  if (bytes.size() != kPacketSize) {
    return false;
  }
  // Advance both counters, whichever fault fires.
  const Fault* const fault = faultAt(FaultPoint::kMcuPacket);
  const auto point = pointOf(bytes);
  const Fault* const ownFault = point ? faultAt(*point) : nullptr;
  const auto has = [&](FaultEffect what) {
    return (fault && fault->what == what) || (ownFault && ownFault->what == what);
  };
  if (isBusy() || has(FaultEffect::kNotAcknowledged)) {
    return false;
  }
  std::vector<std::uint8_t> packet(bytes.begin(), bytes.end());
  if (has(FaultEffect::kDamage)) {
    // Some other bit each time.
    const std::size_t bit = faults_.count(FaultPoint::kMcuPacket) * std::size_t{37} % (8 * (kPacketSize - 1));
    packet[1 + bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
  }

  const unsigned sum = std::accumulate(packet.begin() + 1, packet.end() - 1, 0U);
  checksum_ = static_cast<std::uint8_t>(sum);
  if (checksum_ != packet.back() || !take(packet)) {
    // The host must not take a refusal for a success: neither the sum that was
    // sent nor the one that was computed.
    while (checksum_ == packet.back() || checksum_ == static_cast<std::uint8_t>(sum)) {
      ++checksum_;
    }
  } else if (has(FaultEffect::kBusy)) {
    busyPolls_ = (fault && fault->what == FaultEffect::kBusy ? fault : ownFault)->polls;
  }
  if (has(FaultEffect::kMisread)) {
    ++checksum_;
  }
  return !has(FaultEffect::kLost);
}

bool ExternalMcu::take(std::span<const std::uint8_t> packet) {
  if (packet[1] != kMarker || !family_) {
    return false;
  }
  const auto payload = packet.subspan(kPayloadOffset, kPayloadSize);
  switch (packet[2]) {
    case kStart:
      return takeStart();
    case kAddress:
      return takeAddress(static_cast<std::uint32_t>(payload[0]) << 24 | static_cast<std::uint32_t>(payload[1]) << 16 |
                         static_cast<std::uint32_t>(payload[2]) << 8 | payload[3]);
    case kData:
      return takeData(payload);
    case kFinish:
      return takeFinish();
    default:
      return false;
  }
}

bool ExternalMcu::takeStart() {
  state_ = State::kStarted;
  block_.clear();
  if (applicationValid_) {
    applicationValid_ = false;
    work(kInvalidateTime);
  }
  return true;
}

bool ExternalMcu::takeAddress(std::uint32_t address) {
  std::size_t expected = 0;
  if (state_ == State::kBlockDone) {
    expected = page_ + family_->pageSize;
  } else if (state_ == State::kInBlock && block_.empty()) {
    expected = page_;  // sent again
  } else if (state_ != State::kStarted) {
    return false;
  }
  if (expected >= family_->capacity || address != family_->firstAddress + expected) {
    return false;
  }
  page_ = expected;
  state_ = State::kInBlock;
  const auto page = flash_.begin() + static_cast<std::ptrdiff_t>(page_);
  std::fill_n(page, family_->pageSize, kErasedByte);
  work(family_->eraseTime);
  return true;
}

bool ExternalMcu::takeData(std::span<const std::uint8_t> payload) {
  if (state_ != State::kInBlock) {
    return false;
  }
  block_.insert(block_.end(), payload.begin(), payload.end());
  if (block_.size() == family_->pageSize) {
    programPage();
  }
  return true;
}

void ExternalMcu::programPage() {
  std::copy(block_.begin(), block_.end(), flash_.begin() + static_cast<std::ptrdiff_t>(page_));
  block_.clear();
  state_ = State::kBlockDone;
  work(family_->programTime);
  programming_ = true;
}

bool ExternalMcu::takeFinish() {
  if (state_ != State::kBlockDone && state_ != State::kFinished) {
    return false;
  }
  if (state_ == State::kBlockDone) {
    state_ = State::kFinished;
    applicationValid_ = true;
    work(kVerifyTime);
  }
  return true;
}

}  // namespace simulator
