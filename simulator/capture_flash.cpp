#include "simulator/capture_flash.h"

#include "simulator/identity.h"

#include <algorithm>
#include <string_view>

namespace simulator {
namespace {

/// The first text of the form V1.03.07 in an image.
std::string versionIn(const std::vector<std::uint8_t>& image) {
  constexpr std::string_view kForm = "V#.##.##";
  const auto matches = [](std::uint8_t byte, char form) {
    return form == '#' ? byte >= '0' && byte <= '9' : byte == static_cast<std::uint8_t>(form);
  };
  const auto found = std::search(image.begin(), image.end(), kForm.begin(), kForm.end(), matches);
  return found == image.end() ? "V0.00.00" : std::string(found, found + kForm.size());
}

}  // namespace

void CaptureFlash::configure(const Section& scenario) {
  if (const auto identity = scenario.section("identity", Identity::kIdentityKeys)) {
    version_ = identity->text("captureVersion", kMaxVersion).value_or(version_);
  }
}

void CaptureFlash::beginBurn() {
  burning_ = true;
  hasFirmware_ = false;
  content_.clear();
}

void CaptureFlash::finishBurn(std::vector<std::uint8_t> image) {
  version_ = versionIn(image);
  content_ = std::move(image);
  hasFirmware_ = true;
  burning_ = false;
}

}  // namespace simulator
