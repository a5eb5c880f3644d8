#include "device/RTICE_SDK_x64.h"
#include "simulator/device/status.h"
#include "simulator/library/caller_buffer.h"
#include "simulator/library/journal_text.h"
#include "simulator/library/library.h"

using simulator::arguments;
using simulator::Device;
using simulator::Library;

namespace {

/// Writes a USB string, which need not be terminated.
/// @return its length or a negative status
int32_t usbString(const std::string& text, uint8_t* buffer, uint32_t capacity) {
  if (!buffer) {
    return simulator::kInvalidArgument;
  }
  const int32_t status = simulator::copyText(text, buffer, capacity);
  return status == simulator::kOk ? static_cast<int32_t>(text.size()) : status;
}

}  // namespace

int32_t AT_Get_Customer_Ver(uint8_t* buffer) {
  return Library::instance().call({__func__, {}, {buffer, simulator::kDefaultCapacity}}, [&](Device& device) {
    if (!buffer) {
      return simulator::kInvalidArgument;
    }
    if (!device.flash.hasFirmware()) {
      return simulator::kNoFirmware;
    }
    return simulator::copyTerminatedText(device.flash.version(), buffer, simulator::kDefaultCapacity);
  });
}

int32_t AT_Get_UVC_Name(uint8_t* buffer, uint32_t capacity, uint32_t* length) {
  return Library::instance().call({__func__, arguments(capacity), {buffer, capacity}, length}, [&](Device& device) {
    if (!buffer || !length) {
      return simulator::kInvalidArgument;
    }
    const std::string& name = device.identity.uvcName();
    const int32_t status = simulator::copyTerminatedText(name, buffer, capacity);
    if (status == simulator::kOk) {
      *length = static_cast<uint32_t>(name.size());
    }
    return status;
  });
}

int32_t AT_USB_Get_iManufacturer(uint8_t* buffer, uint32_t capacity) {
  return Library::instance().call({__func__, arguments(capacity), {buffer, capacity}}, [&](Device& device) {
    return usbString(device.identity.manufacturer(), buffer, capacity);
  });
}

int32_t AT_USB_Get_iProduct(uint8_t* buffer, uint32_t capacity) {
  return Library::instance().call({__func__, arguments(capacity), {buffer, capacity}}, [&](Device& device) {
    return usbString(device.identity.product(), buffer, capacity);
  });
}
