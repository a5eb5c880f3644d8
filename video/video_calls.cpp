#include "video/video_calls.h"

#include "device/RTICE_SDK_x64.h"
#include "device/answer.h"

namespace video {

device::Result<HdmiRxRawTimingInfo> readReceiverRecord() {
  static_assert(RTICE_RAW_TIMING_INFO_SIZE >= kRawTimingInfoBytes);
  return device::readRecord<RTICE_RAW_TIMING_INFO_SIZE>(AT_HdmiRX_GetRawTimingInfo).map([](const auto& record) {
    return *readRawTimingInfo(record);
  });
}

device::Result<InputSource> readInputSource() {
  return device::readNumber(AT_Get_Current_Input_Source).map([](std::uint8_t code) {
    return code == 0 ? InputSource::kHdmi : InputSource::kDp;
  });
}

device::Result<> setInputSource(InputSource source) {
  const auto code = static_cast<std::uint8_t>(source);
  return device::resultOf(AT_Input_Source_Switch(&code));
}

device::Result<> setReceiverHotPlug(bool asserted) { return device::resultOf(AT_HdmiRX_Set_HPD(asserted ? 1 : 0)); }

device::Result<std::int32_t> readTransmitterHotPlug() { return device::readNumber(AT_HdmiTX_Get_HPD_Status); }

device::Result<UvcOutputTiming> readOutputTiming() {
  return device::readRecord<128>(AT_UVC_Get_Output_Timing).map([](const auto& record) {
    return *readUvcOutputTiming(record);
  });
}

device::Result<std::uint8_t> readOutputFormat() { return device::readNumber(AT_UVC_Get_VideoFormat); }

device::Result<HdcpVersions> readHdcpVersions() {
  return device::readRecord<128>(AT_Get_RX_TX_HDCP_Version).map([](const auto& codes) {
    return HdcpVersions{codes[0], codes[1]};
  });
}

device::Result<> setTransmitterHdcp(bool on) { return device::resultOf(AT_SetHDMI_HDCP_OnOff(on ? 1 : 0)); }

}  // namespace video
