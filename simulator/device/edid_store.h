#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace simulator {

class Section;
class StateReader;
class StateWriter;

/// The EDID tables: seven flash slots, the attached sink's, and which of them
/// the receiver offers to its source. All sizes are 256, 384 or 512 bytes.
///
/// The tables that the device ships and the sink's come at each size as a whole
/// EDID of that size, as no EDID stays valid when it is cut. A slot that was
/// written, or that a scenario fills, gives back exactly what was written to it,
/// then erased flash (0xFF); likewise a sink that a scenario describes.
class EdidStore {
 public:
  static constexpr std::size_t kSlots = 7;
  static constexpr std::size_t kTableSize = 512;

  enum Mode : std::uint8_t { kFromFlash, kFollowTx, kFollowUsb, kMixed, kModes };

  static constexpr auto kKeys = std::to_array<std::string_view>({"edid"});
  void configure(const Section& scenario);
  /// The settings; the slots keep what was written to them.
  void restoreDefaults();

  void storeSettings(StateWriter& writer) const;
  void storeSlot(std::size_t index, StateWriter& writer) const;
  /// @throws StateError
  void restoreSettings(StateReader& reader);
  void restoreSlot(std::size_t index, StateReader& reader);

  Mode mode() const { return mode_; }
  void setMode(Mode mode) { mode_ = mode; }
  std::uint8_t defaultSlot() const { return defaultSlot_; }
  void setDefaultSlot(std::uint8_t slot) { defaultSlot_ = slot; }

  std::vector<std::uint8_t> slotTable(std::uint8_t index, std::size_t size) const;
  /// Erases a slot and writes at most 512 bytes to its beginning.
  void writeSlot(std::uint8_t index, std::span<const std::uint8_t> bytes);

  std::vector<std::uint8_t> sinkTable(std::size_t size) const;
  /// What the receiver offers on its DDC lines, by mode:
  /// - from flash: the slot in use
  /// - follow TX: the sink's table
  /// - follow USB: what the USB side can carry to the host
  /// - mixed: the shipped table of the slot in use with the sink's abilities
  ///   added; a written table, or a described sink's, cannot be taken apart: the
  ///   slot in use is offered as it is
  ///
  /// Without a sink the modes that look at it offer the slot in use.
  std::vector<std::uint8_t> ddcTable(bool sinkPresent, std::size_t size) const;

 private:
  using WrittenTable = std::array<std::uint8_t, kTableSize>;
  static WrittenTable written(std::span<const std::uint8_t> bytes);

  std::array<std::optional<WrittenTable>, kSlots> written_;
  std::optional<WrittenTable> sink_;
  Mode mode_ = kFromFlash;
  std::uint8_t defaultSlot_ = 0;
};

}  // namespace simulator
