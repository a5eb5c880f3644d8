#include "device/RTICE_SDK_x64.h"
#include "simulator/device/status.h"
#include "simulator/library/caller_buffer.h"
#include "simulator/library/journal_text.h"
#include "simulator/library/library.h"
#include "simulator/library/values.h"

#include <algorithm>

using simulator::Answer;
using simulator::arguments;
using simulator::Device;
using simulator::Library;
using simulator::readValue;
using simulator::Receiver;

int32_t AT_HdmiRX_GetRawTimingInfo(uint8_t* record) {
  return Library::instance().read({__func__, {}, {record, RTICE_RAW_TIMING_INFO_SIZE}}, [&](Device& device) -> Answer {
    if (!record) {
      return {simulator::kInvalidArgument};
    }
    const auto timing = device.receiver.timingRecord();
    static_assert(timing.size() == RTICE_RAW_TIMING_INFO_SIZE);
    return {simulator::kOk, {timing.begin(), timing.end()}};
  });
}

int32_t AT_Get_Current_Input_Source(uint8_t* source) {
  return readValue(__func__, source, [](Device& device) { return static_cast<uint8_t>(device.receiver.source()); });
}

int32_t AT_Input_Source_Switch(const uint8_t* source) {
  return Library::instance().write({__func__, simulator::byteText(source, 1)}, [&](Device& device) {
    if (!source || *source > Receiver::kDp) {
      return simulator::kInvalidArgument;
    }
    device.receiver.selectSource(static_cast<Receiver::Source>(*source));
    return simulator::kOk;
  });
}

int32_t AT_HdmiRX_Set_HPD(int32_t on) {
  return Library::instance().write({__func__, arguments(on)}, [&](Device& device) {
    if (!simulator::isSwitch(on)) {
      return simulator::kInvalidArgument;
    }
    device.receiver.setHotPlug(on == 1);
    return simulator::kOk;
  });
}

int32_t AT_HdmiTX_Get_HPD_Status(int32_t* status) {
  return readValue(__func__, status, [](Device& device) { return device.transmitter.sinkPresent() ? 1 : 0; });
}

int32_t AT_UVC_Get_Output_Timing(uint8_t* record) {
  return Library::instance().read({__func__, {}, {record, simulator::kDefaultCapacity}}, [&](Device& device) -> Answer {
    if (!record) {
      return {simulator::kInvalidArgument};
    }
    const auto timing = device.receiver.uvcTiming();
    return {simulator::kOk, {timing.begin(), timing.end()}};
  });
}

int32_t AT_UVC_Get_VideoFormat(uint8_t* format) {
  return readValue(__func__, format, [](Device& device) { return device.receiver.uvcFormat(); });
}

int32_t AT_Get_RX_TX_HDCP_Version(uint8_t* versions) {
  return Library::instance().read(
      {__func__, {}, {versions, simulator::kDefaultCapacity}}, [&](Device& device) -> Answer {
        if (!versions) {
          return {simulator::kInvalidArgument};
        }
        const simulator::Hdcp incoming = device.receiver.signal().hdcp;
        return {simulator::kOk,
                {static_cast<uint8_t>(incoming), static_cast<uint8_t>(device.transmitter.hdcp(incoming))}};
      });
}

int32_t AT_SetHDMI_HDCP_OnOff(int32_t on) {
  return Library::instance().write({__func__, arguments(on)}, [&](Device& device) {
    if (!simulator::isSwitch(on)) {
      return simulator::kInvalidArgument;
    }
    device.transmitter.setHdcp(on == 1);
    return simulator::kOk;
  });
}
