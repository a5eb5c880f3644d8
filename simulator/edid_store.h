#pragma once

#include "simulator/scenario_tree.h"

#include <array>
#include <cstdint>
#include <span>

namespace simulator {

/// The EDID tables: seven flash slots, the attached sink's, and which of them
/// the receiver offers to its source.
class EdidStore {
 public:
  static constexpr std::size_t kSlots = 7;
  static constexpr std::size_t kTableSize = 512;
  using Table = std::array<std::uint8_t, kTableSize>;

  enum Mode : std::uint8_t { kFromFlash, kFollowTx, kFollowUsb, kMixed, kModes };

  void restoreDefaults();

  Mode mode() const { return mode_; }
  void setMode(Mode mode) { mode_ = mode; }
  std::uint8_t defaultSlot() const { return defaultSlot_; }
  void setDefaultSlot(std::uint8_t slot) { defaultSlot_ = slot; }

  const Table& slot(std::uint8_t index) const { return slots_[index]; }
  /// Erases a slot (to 0xFF) and writes at most 512 bytes to its beginning.
  void writeSlot(std::uint8_t index, std::span<const std::uint8_t> bytes);

  const Table& sinkTable() const { return sinkTable_; }
  /// What the receiver offers on its DDC lines; without a sink the modes that
  /// follow it fall back to the flash slot in use.
  const Table& ddcTable(bool sinkPresent) const;

 private:
  std::array<Table, kSlots> slots_{};
  Table sinkTable_{};
  Mode mode_ = kFromFlash;
  std::uint8_t defaultSlot_ = 0;
};

}  // namespace simulator
