#include "audio/audio_calls.h"

#include "device/RTICE_SDK_x64.h"
#include "device/answer.h"

namespace audio {

device::Result<std::uint8_t> readFormat() { return device::readNumber(AT_Audio_Get_HdmiRX_AudioFormat); }

device::Result<std::uint8_t> readSamplingRate() { return device::readNumber(AT_Audio_Get_HdmiRX_AudioSamplingRate); }

device::Result<std::int16_t> readReceiverGain() { return device::readNumber(AT_Audio_Get_HdmiDPRX_VolumeGain); }

device::Result<> setReceiverGain(std::int32_t gain) { return device::resultOf(AT_Audio_Set_HdmiDPRX_VolumeGain(gain)); }

device::Result<std::int16_t> readHeadphoneGain(std::int16_t before) {
  return device::readNumber(AT_Audio_Get_HPOUTgain, before);
}

device::Result<> setHeadphoneGain(std::int16_t gain) { return device::resultOf(AT_Audio_Set_HPOUTgain(&gain)); }

device::Result<bool> readHeadphoneMute() {
  return device::readNumber(AT_Audio_Get_DACHP_Mute).map([](std::uint8_t code) { return code != 0; });
}

device::Result<> setHeadphoneMute(bool muted) { return device::resultOf(AT_Audio_Set_DACHP_Mute(muted ? 1 : 0)); }

}  // namespace audio
