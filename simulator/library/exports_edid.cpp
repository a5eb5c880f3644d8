#include "device/RTICE_SDK_x64.h"
#include "simulator/device/status.h"
#include "simulator/library/journal_text.h"
#include "simulator/library/library.h"
#include "simulator/library/values.h"

#include <algorithm>
#include <chrono>
#include <vector>

using simulator::Answer;
using simulator::arguments;
using simulator::Device;
using simulator::EdidStore;
using simulator::Library;
using simulator::readValue;

namespace {

bool isReadSize(uint32_t size) { return size == 256 || size == 384 || size == 512; }

// Erasing a flash sector and programming two pages.
constexpr std::chrono::milliseconds kSlotWriteTime{60};

}  // namespace

int32_t AT_EDID_Get_EDID_mode(uint8_t* mode) {
  return readValue(__func__, mode, [](Device& device) { return static_cast<uint8_t>(device.edid.mode()); });
}

int32_t AT_EDID_Set_EDID_mode(int32_t mode) {
  return Library::instance().write({__func__, arguments(mode)}, [&](Device& device) {
    if (mode < 0 || mode >= EdidStore::kModes) {
      return simulator::kInvalidArgument;
    }
    device.edid.setMode(static_cast<EdidStore::Mode>(mode));
    return simulator::kOk;
  });
}

int32_t AT_EDID_Flash_Get_Default_table(uint8_t* slot) {
  return readValue(__func__, slot, [](Device& device) { return device.edid.defaultSlot(); });
}

int32_t AT_EDID_Flash_Set_Default_table(uint8_t slot) {
  return Library::instance().write({__func__, arguments(slot)}, [&](Device& device) {
    if (slot >= EdidStore::kSlots) {
      return simulator::kInvalidArgument;
    }
    device.edid.setDefaultSlot(slot);
    return simulator::kOk;
  });
}

int32_t AT_EDID_Flash_Get_table(uint8_t slot, uint8_t* buffer, uint32_t size) {
  return Library::instance().read({__func__, arguments(slot, size), {buffer, size}}, [&](Device& device) -> Answer {
    if (slot >= EdidStore::kSlots || !buffer || !isReadSize(size)) {
      return {simulator::kInvalidArgument};
    }
    return {simulator::kOk, device.edid.slotTable(slot, size)};
  });
}

int32_t AT_EDID_Flash_Set_table(uint8_t slot, const uint8_t* bytes, uint32_t size) {
  return Library::instance().write(
      {__func__, arguments(slot, simulator::byteText(bytes, size), size)}, [&](Device& device) {
        if (slot >= EdidStore::kSlots || !bytes || size == 0 || size > EdidStore::kTableSize) {
          return simulator::kInvalidArgument;
        }
        device.edid.writeSlot(slot, device.transfers.arriving({bytes, size}));
        device.spend(kSlotWriteTime);
        return simulator::kOk;
      });
}

int32_t AT_EDID_Get_TX_table(uint32_t size, uint8_t* buffer) {
  return Library::instance().read({__func__, arguments(size), {buffer, size}}, [&](Device& device) -> Answer {
    if (!buffer || !isReadSize(size)) {
      return {simulator::kInvalidArgument};
    }
    if (!device.transmitter.sinkPresent()) {
      return {simulator::kNoSink};
    }
    return {simulator::kOk, device.edid.sinkTable(size)};
  });
}

int32_t AT_EDID_DDC_Get_RX_table(uint32_t size, uint8_t* buffer) {
  return Library::instance().read({__func__, arguments(size), {buffer, size}}, [&](Device& device) -> Answer {
    if (!buffer || !isReadSize(size)) {
      return {simulator::kInvalidArgument};
    }
    return {simulator::kOk, device.edid.ddcTable(device.transmitter.sinkPresent(), size)};
  });
}
