#pragma once

#include "device/RTICE_SDK_x64.h"

#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <cstring>
#include <functional>
#include <vector>

/// All buffers that an operation can write to, filled with a pattern.
struct Scratch {
  std::array<std::uint8_t, 512> buffer{};
  std::uint32_t length = 0xA5A5A5A5;
  std::int32_t number = -0x5A5A5A5B;
  std::int16_t gain = -0x5A5B;

  Scratch() { buffer.fill(0xA5); }
  bool operator==(const Scratch&) const = default;
};

/// A call with arguments that a device in its default state accepts.
struct OperationCall {
  const char* name;
  std::function<std::int32_t(Scratch&)> run;
};

/// A file for the burning operations.
class BurnFile {
 public:
  BurnFile() : path_(directory_.filePath("image.img").toUtf8()) {
    QFile file(QString::fromUtf8(path_));
    if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(100, 'x')) != 100) {
      qFatal("no temporary file could be written");
    }
  }
  const char* path() const { return path_.constData(); }

 private:
  QTemporaryDir directory_;
  QByteArray path_;
};

/// The 39 operations that need an open port.
inline std::vector<OperationCall> portOperations(const char* path) {
  static const std::uint8_t kZero = 0;
  static const std::int16_t kGain = 3;
  static const std::uint8_t kText[] = {'S', 'N'};
  return {
      {"burnToFlash", [path](Scratch&) { return burnToFlash(path, [](float) {}); }},
      {"burnHDCP", [path](Scratch&) { return burnHDCP(path); }},
      {"AT_USB_Get_SerialNum", [](Scratch& s) { return AT_USB_Get_SerialNum(s.buffer.data(), 100, &s.length); }},
      {"AT_USB_Set_SerialNum", [](Scratch&) { return AT_USB_Set_SerialNum(kText, 2); }},
      {"AT_RestoreToDefault", [](Scratch&) { return AT_RestoreToDefault(); }},
      {"AT_Get_Customer_Ver", [](Scratch& s) { return AT_Get_Customer_Ver(s.buffer.data()); }},
      {"AT_Get_UVC_Name", [](Scratch& s) { return AT_Get_UVC_Name(s.buffer.data(), 100, &s.length); }},
      {"AT_USB_Get_iManufacturer", [](Scratch& s) { return AT_USB_Get_iManufacturer(s.buffer.data(), 64); }},
      {"AT_USB_Get_iProduct", [](Scratch& s) { return AT_USB_Get_iProduct(s.buffer.data(), 64); }},
      {"AT_System_Send_ExternalMCU_cmd",
       [](Scratch&) {
         static const std::uint8_t kUnusedRegister[] = {0x7F, 0x00};
         return AT_System_Send_ExternalMCU_cmd(3, 0x0D, 2, kUnusedRegister);
       }},
      {"AT_System_Get_ExternalMCU_cmd",
       [](Scratch& s) { return AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, &kZero, 1, s.buffer.data()); }},
      {"AT_HdmiRX_GetRawTimingInfo", [](Scratch& s) { return AT_HdmiRX_GetRawTimingInfo(s.buffer.data()); }},
      {"AT_Get_Current_Input_Source", [](Scratch& s) { return AT_Get_Current_Input_Source(s.buffer.data()); }},
      {"AT_Input_Source_Switch", [](Scratch&) { return AT_Input_Source_Switch(&kZero); }},
      {"AT_HdmiRX_Set_HPD", [](Scratch&) { return AT_HdmiRX_Set_HPD(1); }},
      {"AT_HdmiTX_Get_HPD_Status", [](Scratch& s) { return AT_HdmiTX_Get_HPD_Status(&s.number); }},
      {"AT_UVC_Get_Output_Timing", [](Scratch& s) { return AT_UVC_Get_Output_Timing(s.buffer.data()); }},
      {"AT_UVC_Get_VideoFormat", [](Scratch& s) { return AT_UVC_Get_VideoFormat(s.buffer.data()); }},
      {"AT_Get_RX_TX_HDCP_Version", [](Scratch& s) { return AT_Get_RX_TX_HDCP_Version(s.buffer.data()); }},
      {"AT_Audio_Get_HdmiRX_AudioFormat", [](Scratch& s) { return AT_Audio_Get_HdmiRX_AudioFormat(s.buffer.data()); }},
      {"AT_Audio_Get_HdmiRX_AudioSamplingRate",
       [](Scratch& s) { return AT_Audio_Get_HdmiRX_AudioSamplingRate(s.buffer.data()); }},
      {"AT_Audio_Get_HdmiDPRX_VolumeGain", [](Scratch& s) { return AT_Audio_Get_HdmiDPRX_VolumeGain(&s.gain); }},
      {"AT_Audio_Set_HdmiDPRX_VolumeGain", [](Scratch&) { return AT_Audio_Set_HdmiDPRX_VolumeGain(-7); }},
      {"AT_Audio_Get_HPOUTgain", [](Scratch& s) { return AT_Audio_Get_HPOUTgain(&s.gain); }},
      {"AT_Audio_Set_HPOUTgain", [](Scratch&) { return AT_Audio_Set_HPOUTgain(&kGain); }},
      {"AT_Audio_Get_DACHP_Mute", [](Scratch& s) { return AT_Audio_Get_DACHP_Mute(s.buffer.data()); }},
      {"AT_Audio_Set_DACHP_Mute", [](Scratch&) { return AT_Audio_Set_DACHP_Mute(1); }},
      {"AT_EDID_Get_EDID_mode", [](Scratch& s) { return AT_EDID_Get_EDID_mode(s.buffer.data()); }},
      {"AT_EDID_Set_EDID_mode", [](Scratch&) { return AT_EDID_Set_EDID_mode(2); }},
      {"AT_EDID_Flash_Get_Default_table", [](Scratch& s) { return AT_EDID_Flash_Get_Default_table(s.buffer.data()); }},
      {"AT_EDID_Flash_Set_Default_table", [](Scratch&) { return AT_EDID_Flash_Set_Default_table(6); }},
      {"AT_EDID_Flash_Get_table", [](Scratch& s) { return AT_EDID_Flash_Get_table(0, s.buffer.data(), 256); }},
      {"AT_EDID_Flash_Set_table", [](Scratch&) { return AT_EDID_Flash_Set_table(0, kText, 2); }},
      {"AT_EDID_Get_TX_table", [](Scratch& s) { return AT_EDID_Get_TX_table(256, s.buffer.data()); }},
      {"AT_EDID_DDC_Get_RX_table", [](Scratch& s) { return AT_EDID_DDC_Get_RX_table(256, s.buffer.data()); }},
      {"AT_GPIO_Get_Param", [](Scratch& s) { return AT_GPIO_Get_Param(1, 13, s.buffer.data()); }},
      {"AT_GPIO_Set_Param", [](Scratch&) { return AT_GPIO_Set_Param(0, 0, 255); }},
      {"AT_SetHDMI_HDCP_OnOff", [](Scratch&) { return AT_SetHDMI_HDCP_OnOff(0); }},
      // Last, since the device is away for a moment afterwards.
      {"AT_Set_System_Reboot", [](Scratch&) { return AT_Set_System_Reboot(); }},
  };
}

/// Opens the default device's port.
inline void openDefaultDevice() {
  QCOMPARE(initialize(), 0);
  QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
  QCOMPARE(openPort(), 0);
}
