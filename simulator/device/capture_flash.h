#pragma once

#include "simulator/device/fault_plan.h"
#include "simulator/device/transfers.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace simulator {

class Section;
class StateReader;
class StateWriter;

/// The capture chip's firmware flash. A burn erases as many sectors as the image
/// needs, then writes the image piece by piece. From its beginning on the chip has
/// no firmware, and keeps none when the burn does not reach its end.
class CaptureFlash {
 public:
  static constexpr std::size_t kCapacity = std::size_t{16} * 1024 * 1024;
  static constexpr std::size_t kSectorSize = std::size_t{64} * 1024;
  static constexpr std::size_t kPieceSize = std::size_t{4} * 1024;
  static constexpr std::chrono::milliseconds kSectorTime{80};
  static constexpr std::chrono::milliseconds kPieceTime{15};
  static constexpr std::size_t kMaxVersion = 127;

  void configure(const Section& scenario);

  bool hasFirmware() const { return hasFirmware_; }
  const std::string& version() const { return version_; }
  /// From the flash's start to the end of the last image's last sector.
  const std::vector<std::uint8_t>& content() const { return content_; }

  void store(StateWriter& writer) const;
  /// @throws StateError
  void restore(StateReader& reader);
  std::span<std::uint8_t> memory() { return content_; }
  struct Range {
    std::size_t first{};
    std::size_t size{};
  };
  /// What the burn's last step has written; nothing when that was taken before.
  Range takeChanged() { return std::exchange(changed_, {}); }

  /// Makes the chip ready for an image of 1 to kCapacity bytes.
  /// @return the burn's number; nothing while another burn is running
  std::optional<unsigned> beginBurn(std::vector<std::uint8_t> image);
  /// How long the next step of the running burn takes.
  std::chrono::milliseconds stepTime() const { return isErasing() ? kSectorTime : kPieceTime; }
  /// Erases the next sector or writes the next piece.
  /// @param transfers what a piece passes on its way
  /// @return kDeviceGone when that burn was interrupted, or a fault's status
  std::int32_t step(unsigned burn, FaultPlan& faults, Transfers& transfers);
  /// How much of the running burn's time has passed, in percent.
  float percent() const;
  /// Whether the last burn has written all of its image.
  bool isDone() const { return written_ == image_.size(); }
  /// Makes the firmware valid that a burn has written.
  /// @return as `step`
  std::int32_t finishBurn(unsigned burn);
  /// Ends a burn that is not finished.
  void abandonBurn(unsigned burn);

  /// Interrupts the burn that is running.
  void powerCycle() { running_.reset(); }

 private:
  bool isErasing() const { return erased_ < content_.size(); }

  std::vector<std::uint8_t> content_;
  Range changed_;
  std::string version_ = "V1.03.07";
  bool hasFirmware_ = true;

  unsigned burns_ = 0;
  std::optional<unsigned> running_;
  std::vector<std::uint8_t> image_;
  std::size_t erased_ = 0;
  std::size_t written_ = 0;
};

}  // namespace simulator
