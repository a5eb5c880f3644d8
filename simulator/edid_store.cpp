#include "simulator/edid_store.h"

#include <algorithm>

namespace simulator {

void EdidStore::restoreDefaults() {
  mode_ = kFromFlash;
  defaultSlot_ = 0;
}

void EdidStore::writeSlot(std::uint8_t index, std::span<const std::uint8_t> bytes) {
  Table& table = slots_[index];
  table.fill(0xFF);
  std::copy_n(bytes.begin(), std::min(bytes.size(), table.size()), table.begin());
}

const EdidStore::Table& EdidStore::ddcTable(bool sinkPresent) const {
  return mode_ == kFollowTx && sinkPresent ? sinkTable_ : slots_[defaultSlot_];
}

}  // namespace simulator
