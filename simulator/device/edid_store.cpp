#include "simulator/device/edid_store.h"

#include "simulator/device/edid_tables.h"

#include <algorithm>

namespace simulator {
namespace {

constexpr std::array<std::string_view, 2> kEdidKeys{"mode", "defaultSlot"};
constexpr std::array<std::string_view, EdidStore::kModes> kModeNames{"fromFlash", "followTx", "followUsb", "mixed"};

}  // namespace

void EdidStore::configure(const Section& scenario) {
  if (const auto edid = scenario.section("edid", kEdidKeys)) {
    mode_ = static_cast<Mode>(edid->choice("mode", kModeNames).value_or(mode_));
    defaultSlot_ = static_cast<std::uint8_t>(edid->integer("defaultSlot", 0, kSlots - 1).value_or(defaultSlot_));
  }
}

void EdidStore::restoreDefaults() {
  mode_ = kFromFlash;
  defaultSlot_ = 0;
}

std::vector<std::uint8_t> EdidStore::slotTable(std::uint8_t index, std::size_t size) const {
  if (const auto& written = written_[index]) {
    return {written->begin(), written->begin() + static_cast<std::ptrdiff_t>(size)};
  }
  return edidTable(factoryDisplays()[index], size);
}

void EdidStore::writeSlot(std::uint8_t index, std::span<const std::uint8_t> bytes) {
  WrittenTable& table = written_[index].emplace();
  table.fill(0xFF);
  std::copy_n(bytes.begin(), std::min(bytes.size(), table.size()), table.begin());
}

std::vector<std::uint8_t> EdidStore::sinkTable(std::size_t size) const { return edidTable(sinkDisplay(), size); }

std::vector<std::uint8_t> EdidStore::ddcTable(bool sinkPresent, std::size_t size) const {
  if (mode_ == kFollowUsb) {
    return edidTable(usbDisplay(), size);
  }
  if (mode_ == kFollowTx && sinkPresent) {
    return sinkTable(size);
  }
  if (mode_ == kMixed && sinkPresent && !written_[defaultSlot_]) {
    return mixedEdidTable(factoryDisplays()[defaultSlot_], sinkDisplay(), size);
  }
  return slotTable(defaultSlot_, size);
}

}  // namespace simulator
