#include "video/video_calls.h"

#include "tests/support/call_check.h"

using video::InputSource;

class VideoCallsTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { openNewDevice(); }

  void eachIsOneCallAndPassesItsStatusOn() {
    checkCall({"AT_HdmiRX_GetRawTimingInfo()", [] { return statusOfCall(video::readReceiverRecord()); }});
    checkCall({"AT_Get_Current_Input_Source()", [] { return statusOfCall(video::readInputSource()); }});
    checkCall(
        {"AT_Input_Source_Switch([00])", [] { return device::statusOf(video::setInputSource(InputSource::kHdmi)); }});
    checkCall(
        {"AT_Input_Source_Switch([01])", [] { return device::statusOf(video::setInputSource(InputSource::kDp)); }});
    checkCall({"AT_HdmiRX_Set_HPD(1)", [] { return device::statusOf(video::setReceiverHotPlug(true)); }});
    checkCall({"AT_HdmiRX_Set_HPD(0)", [] { return device::statusOf(video::setReceiverHotPlug(false)); }});
    checkCall({"AT_HdmiTX_Get_HPD_Status()", [] { return statusOfCall(video::readTransmitterHotPlug()); }});
    checkCall({"AT_UVC_Get_Output_Timing()", [] { return statusOfCall(video::readOutputTiming()); }});
    checkCall({"AT_UVC_Get_VideoFormat()", [] { return statusOfCall(video::readOutputFormat()); }});
    checkCall({"AT_Get_RX_TX_HDCP_Version()", [] { return statusOfCall(video::readHdcpVersions()); }});
    checkCall({"AT_SetHDMI_HDCP_OnOff(1)", [] { return device::statusOf(video::setTransmitterHdcp(true)); }});
    checkCall({"AT_SetHDMI_HDCP_OnOff(0)", [] { return device::statusOf(video::setTransmitterHdcp(false)); }});
  }

  void everySourceButHdmiIsDp() {
    for (unsigned code = 0; code < 256; ++code) {
      simulator::answerCall("AT_Get_Current_Input_Source", code + 1, 0, {static_cast<std::uint8_t>(code)});
      QCOMPARE(*video::readInputSource() == InputSource::kHdmi, code == 0);
    }
  }

  void onlyOneMeansThatASinkIsPresent() {
    for (const std::int32_t state : {0, 1, 2, -1, 257}) {
      QCOMPARE(video::isSinkPresent(state), state == 1);
    }
    simulator::attachSink(false);
    QCOMPARE(*video::readTransmitterHotPlug(), 0);
    simulator::attachSink(true);
    QCOMPARE(*video::readTransmitterHotPlug(), 1);
    simulator::answerCall("AT_HdmiTX_Get_HPD_Status", 3, 0, {0xFE, 0xFF, 0xFF, 0xFF});
    QCOMPARE(*video::readTransmitterHotPlug(), -2);
  }

  void recordsAreDecoded() {
    simulator::answerCall("AT_UVC_Get_Output_Timing", 1, 0, {0x80, 0x07, 0, 0, 0x38, 0x04, 0, 0, 0x70, 0x17, 0, 0});
    const auto timing = video::readOutputTiming();
    QCOMPARE(timing->width, 1920U);
    QCOMPARE(timing->height, 1080U);
    QCOMPARE(timing->frameRateX100, 6000U);

    simulator::answerCall("AT_Get_RX_TX_HDCP_Version", 1, 0, {2, 1});
    QCOMPARE(int{video::readHdcpVersions()->receiver}, 2);
    simulator::answerCall("AT_Get_RX_TX_HDCP_Version", 2, 0, {2, 1});
    QCOMPARE(int{video::readHdcpVersions()->transmitter}, 1);

    std::vector<std::uint8_t> record(48);
    record[0x08] = 0x80;
    record[0x09] = 0x07;
    simulator::answerCall("AT_HdmiRX_GetRawTimingInfo", 1, 0, record);
    QCOMPARE(int{video::readReceiverRecord()->hActive}, 1920);
  }
};

QTEST_APPLESS_MAIN(VideoCallsTest)
#include "video_calls_test.moc"
