#include "simulator/device/edid_store.h"

#include "simulator/device/edid_tables.h"
#include "simulator/device/state_bytes.h"
#include "simulator/scenario/scenario_tree.h"

#include <algorithm>

namespace simulator {
namespace {

constexpr auto kSlotKeys =
    std::to_array<std::string_view>({"slot0", "slot1", "slot2", "slot3", "slot4", "slot5", "slot6"});
constexpr auto kEdidKeys = std::to_array<std::string_view>(
    {"mode", "defaultSlot", "slot0", "slot1", "slot2", "slot3", "slot4", "slot5", "slot6", "sink"});
constexpr auto kModeChoices = std::to_array<Choice<EdidStore::Mode>>({{"fromFlash", EdidStore::kFromFlash},
                                                                      {"followTx", EdidStore::kFollowTx},
                                                                      {"followUsb", EdidStore::kFollowUsb},
                                                                      {"mixed", EdidStore::kMixed}});

}  // namespace

void EdidStore::configure(const Section& scenario) {
  if (const auto edid = scenario.section("edid", kEdidKeys)) {
    mode_ = edid->choice("mode", kModeChoices).value_or(mode_);
    defaultSlot_ = static_cast<std::uint8_t>(edid->integer("defaultSlot", 0, kSlots - 1).value_or(defaultSlot_));
    for (std::size_t slot = 0; slot < kSlots; ++slot) {
      if (const auto table = edid->bytes(kSlotKeys[slot], kTableSize)) {
        written_[slot] = written(*table);
      }
    }
    if (const auto table = edid->bytes("sink", kTableSize)) {
      sink_ = written(*table);
    }
  }
}

void EdidStore::restoreDefaults() {
  mode_ = kFromFlash;
  defaultSlot_ = 0;
}

void EdidStore::storeSettings(StateWriter& writer) const {
  writer.number(static_cast<std::uint8_t>(mode_));
  writer.number(defaultSlot_);
}

void EdidStore::storeSlot(std::size_t index, StateWriter& writer) const {
  writer.flag(written_[index].has_value());
  if (const auto& table = written_[index]) {
    writer.raw(*table);
  }
}

void EdidStore::restoreSettings(StateReader& reader) {
  mode_ = static_cast<Mode>(reader.number<std::uint8_t>(kModes - 1));
  defaultSlot_ = reader.number<std::uint8_t>(kSlots - 1);
}

void EdidStore::restoreSlot(std::size_t index, StateReader& reader) {
  if (index >= kSlots) {
    throw StateError();
  }
  written_[index].reset();
  if (reader.flag()) {
    const auto table = reader.raw(kTableSize);
    std::copy(table.begin(), table.end(), written_[index].emplace().begin());
  }
}

std::vector<std::uint8_t> EdidStore::slotTable(std::uint8_t index, std::size_t size) const {
  if (const auto& written = written_[index]) {
    return {written->begin(), written->begin() + static_cast<std::ptrdiff_t>(size)};
  }
  return edidTable(factoryDisplays()[index], size);
}

void EdidStore::writeSlot(std::uint8_t index, std::span<const std::uint8_t> bytes) { written_[index] = written(bytes); }

EdidStore::WrittenTable EdidStore::written(std::span<const std::uint8_t> bytes) {
  WrittenTable table;
  table.fill(0xFF);
  std::copy_n(bytes.begin(), std::min(bytes.size(), table.size()), table.begin());
  return table;
}

std::vector<std::uint8_t> EdidStore::sinkTable(std::size_t size) const {
  if (sink_) {
    return {sink_->begin(), sink_->begin() + static_cast<std::ptrdiff_t>(size)};
  }
  return edidTable(sinkDisplay(), size);
}

std::vector<std::uint8_t> EdidStore::ddcTable(bool sinkPresent, std::size_t size) const {
  if (mode_ == kFollowUsb) {
    return edidTable(usbDisplay(), size);
  }
  if (mode_ == kFollowTx && sinkPresent) {
    return sinkTable(size);
  }
  if (mode_ == kMixed && sinkPresent && !written_[defaultSlot_] && !sink_) {
    return mixedEdidTable(factoryDisplays()[defaultSlot_], sinkDisplay(), size);
  }
  return slotTable(defaultSlot_, size);
}

}  // namespace simulator
