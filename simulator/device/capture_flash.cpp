#include "simulator/device/capture_flash.h"

#include "simulator/device/identity.h"
#include "simulator/device/state_bytes.h"
#include "simulator/device/status.h"
#include "simulator/scenario/scenario_tree.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace simulator {
namespace {

constexpr std::uint8_t kErased = 0xFF;

/// The first text of the form V1.03.07 in an image.
std::string versionIn(const std::vector<std::uint8_t>& image) {
  constexpr std::string_view kForm = "V#.##.##";
  const auto matches = [](std::uint8_t byte, char form) {
    return form == '#' ? byte >= '0' && byte <= '9' : byte == static_cast<std::uint8_t>(form);
  };
  const auto found = std::search(image.begin(), image.end(), kForm.begin(), kForm.end(), matches);
  return found == image.end() ? "V0.00.00" : std::string(found, found + kForm.size());
}

constexpr std::size_t countOf(std::size_t size, std::size_t unit) { return (size + unit - 1) / unit; }

}  // namespace

void CaptureFlash::configure(const Section& scenario) {
  if (const auto identity = scenario.section("identity", Identity::kIdentityKeys)) {
    version_ = identity->text("captureVersion", kMaxVersion).value_or(version_);
  }
}

void CaptureFlash::store(StateWriter& writer) const {
  writer.flag(hasFirmware_);
  writer.text(version_);
  writer.number(static_cast<std::uint32_t>(content_.size()));
}

void CaptureFlash::restore(StateReader& reader) {
  hasFirmware_ = reader.flag();
  version_ = reader.text(kMaxVersion);
  content_.resize(reader.number<std::uint32_t>(kCapacity), kErased);
}

std::optional<unsigned> CaptureFlash::beginBurn(std::vector<std::uint8_t> image) {
  if (running_) {
    return std::nullopt;
  }
  hasFirmware_ = false;
  image_ = std::move(image);
  changed_ = {};
  content_.resize(countOf(image_.size(), kSectorSize) * kSectorSize, kErased);
  erased_ = 0;
  written_ = 0;
  running_ = ++burns_;
  return running_;
}

std::int32_t CaptureFlash::step(unsigned burn, FaultPlan& faults, Transfers& transfers) {
  if (running_ != burn) {
    return kDeviceGone;
  }
  if (const Fault* const fault = faults.next(FaultPoint::kCaptureFlash, {}, {burn, percent()})) {
    if (fault->what == FaultEffect::kAnswer) {
      return fault->status;
    }
    faults.requestUnplug(*fault);
  }
  if (isErasing()) {
    std::fill_n(content_.begin() + static_cast<std::ptrdiff_t>(erased_), kSectorSize, kErased);
    changed_ = {erased_, kSectorSize};
    erased_ += kSectorSize;
  } else if (!isDone()) {
    const std::size_t size = std::min(kPieceSize, image_.size() - written_);
    if (!transfers.ignoresWrite()) {
      const auto piece = transfers.arriving(std::span(image_).subspan(written_, size));
      std::copy(piece.begin(), piece.end(), content_.begin() + static_cast<std::ptrdiff_t>(written_));
      changed_ = {written_, size};
    }
    written_ += size;
  }
  return kOk;
}

float CaptureFlash::percent() const {
  const auto time = [](std::size_t erased, std::size_t written) {
    return static_cast<float>(countOf(erased, kSectorSize)) * static_cast<float>(kSectorTime.count()) +
           static_cast<float>(written) / static_cast<float>(kPieceSize) * static_cast<float>(kPieceTime.count());
  };
  return time(erased_, written_) / time(content_.size(), image_.size()) * 100.0F;
}

std::int32_t CaptureFlash::finishBurn(unsigned burn) {
  if (running_ != burn) {
    return kDeviceGone;
  }
  version_ = versionIn(image_);
  hasFirmware_ = true;
  running_.reset();
  return kOk;
}

void CaptureFlash::abandonBurn(unsigned burn) {
  if (running_ == burn) {
    running_.reset();
  }
}

}  // namespace simulator
