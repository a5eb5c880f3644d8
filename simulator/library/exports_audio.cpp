#include "device/RTICE_SDK_x64.h"
#include "simulator/device/status.h"
#include "simulator/library/journal_text.h"
#include "simulator/library/library.h"
#include "simulator/library/values.h"

#include <limits>

using simulator::arguments;
using simulator::Device;
using simulator::Library;
using simulator::readValue;

int32_t AT_Audio_Get_HdmiRX_AudioFormat(uint8_t* format) {
  return readValue(__func__, format, [](Device& device) { return device.audio.format(device.receiver.signal()); });
}

int32_t AT_Audio_Get_HdmiRX_AudioSamplingRate(uint8_t* rate) {
  return readValue(__func__, rate, [](Device& device) { return device.audio.samplingRate(device.receiver.signal()); });
}

int32_t AT_Audio_Get_HdmiDPRX_VolumeGain(int16_t* gain) {
  return readValue(__func__, gain, [](Device& device) { return device.audio.settings().receiverGain; });
}

int32_t AT_Audio_Set_HdmiDPRX_VolumeGain(int32_t gain) {
  return Library::instance().write({__func__, arguments(gain)}, [&](Device& device) {
    if (gain < std::numeric_limits<int16_t>::min() || gain > std::numeric_limits<int16_t>::max()) {
      return simulator::kInvalidArgument;
    }
    device.audio.settings().receiverGain = static_cast<int16_t>(gain);
    return simulator::kOk;
  });
}

int32_t AT_Audio_Get_HPOUTgain(int16_t* gain) {
  return readValue(__func__, gain, [](Device& device) { return device.audio.settings().headphoneGain; });
}

int32_t AT_Audio_Set_HPOUTgain(const int16_t* gain) {
  return Library::instance().write({__func__, gain ? arguments(*gain) : "null"}, [&](Device& device) {
    if (!gain) {
      return simulator::kInvalidArgument;
    }
    device.audio.settings().headphoneGain = *gain;
    return simulator::kOk;
  });
}

int32_t AT_Audio_Get_DACHP_Mute(uint8_t* mute) {
  return readValue(__func__, mute,
                   [](Device& device) { return static_cast<uint8_t>(device.audio.settings().muted ? 1 : 0); });
}

int32_t AT_Audio_Set_DACHP_Mute(int32_t mute) {
  return Library::instance().write({__func__, arguments(mute)}, [&](Device& device) {
    if (!simulator::isSwitch(mute)) {
      return simulator::kInvalidArgument;
    }
    device.audio.settings().muted = mute == 1;
    return simulator::kOk;
  });
}
