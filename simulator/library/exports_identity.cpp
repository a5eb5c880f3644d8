#include "device/RTICE_SDK_x64.h"
#include "simulator/device/status.h"
#include "simulator/library/caller_buffer.h"
#include "simulator/library/journal_text.h"
#include "simulator/library/library.h"

using simulator::Answer;
using simulator::arguments;
using simulator::Device;
using simulator::Library;

namespace {

/// A USB string, which need not be terminated; the status is its length.
Answer usbString(const std::string& text, const uint8_t* buffer, uint32_t capacity) {
  if (!buffer) {
    return {simulator::kInvalidArgument};
  }
  Answer answer = simulator::textAnswer(text, capacity);
  if (answer.status == simulator::kOk) {
    answer.status = static_cast<int32_t>(text.size());
  }
  return answer;
}

}  // namespace

int32_t AT_Get_Customer_Ver(uint8_t* buffer) {
  return Library::instance().read({__func__, {}, {buffer, simulator::kDefaultCapacity}}, [&](Device& device) -> Answer {
    if (!buffer) {
      return {simulator::kInvalidArgument};
    }
    if (!device.flash.hasFirmware()) {
      return {simulator::kNoFirmware};
    }
    return simulator::terminatedTextAnswer(device.flash.version(), simulator::kDefaultCapacity);
  });
}

int32_t AT_Get_UVC_Name(uint8_t* buffer, uint32_t capacity, uint32_t* length) {
  return Library::instance().read({__func__, arguments(capacity), {buffer, capacity}, length},
                                  [&](Device& device) -> Answer {
                                    if (!buffer || !length) {
                                      return {simulator::kInvalidArgument};
                                    }
                                    const std::string& name = device.identity.uvcName();
                                    Answer answer = simulator::terminatedTextAnswer(name, capacity);
                                    if (answer.status == simulator::kOk) {
                                      *length = static_cast<uint32_t>(name.size());
                                    }
                                    return answer;
                                  });
}

int32_t AT_USB_Get_iManufacturer(uint8_t* buffer, uint32_t capacity) {
  return Library::instance().read({__func__, arguments(capacity), {buffer, capacity}}, [&](Device& device) {
    return usbString(device.identity.manufacturer(), buffer, capacity);
  });
}

int32_t AT_USB_Get_iProduct(uint8_t* buffer, uint32_t capacity) {
  return Library::instance().read({__func__, arguments(capacity), {buffer, capacity}}, [&](Device& device) {
    return usbString(device.identity.product(), buffer, capacity);
  });
}
