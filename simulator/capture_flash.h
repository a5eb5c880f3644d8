#pragma once

#include "simulator/scenario_tree.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace simulator {

/// The capture chip's firmware flash. A burn erases all of it, then writes the
/// image piece by piece; until the last piece stands the chip has no firmware.
class CaptureFlash {
 public:
  static constexpr std::size_t kCapacity = std::size_t{16} * 1024 * 1024;
  static constexpr std::size_t kPieceSize = std::size_t{16} * 1024;
  static constexpr std::chrono::milliseconds kEraseTime{2000};
  static constexpr std::chrono::milliseconds kPieceTime{60};
  static constexpr std::size_t kMaxVersion = 127;

  void configure(const Section& scenario);

  bool hasFirmware() const { return hasFirmware_; }
  const std::string& version() const { return version_; }

  bool isBurning() const { return burning_; }
  void beginBurn();
  /// Ends a burn that did not reach its end; the chip is left without firmware.
  void abandonBurn() { burning_ = false; }
  void finishBurn(std::vector<std::uint8_t> image);

 private:
  std::vector<std::uint8_t> content_;
  std::string version_ = "V1.03.07";
  bool hasFirmware_ = true;
  bool burning_ = false;
};

}  // namespace simulator
