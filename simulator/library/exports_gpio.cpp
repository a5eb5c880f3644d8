#include "device/RTICE_SDK_x64.h"
#include "simulator/device/status.h"
#include "simulator/library/journal_text.h"
#include "simulator/library/library.h"

using simulator::Answer;
using simulator::arguments;
using simulator::Device;
using simulator::Library;

int32_t AT_GPIO_Get_Param(uint8_t group, uint8_t index, uint8_t* value) {
  return Library::instance().read({__func__, arguments(group, index), {value, 1}}, [&](Device& device) -> Answer {
    const uint8_t* const pin = device.gpio.pin(group, index);
    if (!pin || !value) {
      return {simulator::kInvalidArgument};
    }
    return {simulator::kOk, {*pin}};
  });
}

int32_t AT_GPIO_Set_Param(uint8_t group, uint8_t index, uint8_t value) {
  return Library::instance().write({__func__, arguments(group, index, value)}, [&](Device& device) {
    uint8_t* const pin = device.gpio.pin(group, index);
    if (!pin) {
      return simulator::kInvalidArgument;
    }
    *pin = value;
    return simulator::kOk;
  });
}
