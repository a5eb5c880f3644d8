#include "device/RTICE_SDK_x64.h"

#include <cstring>

extern "C" {
int32_t initialize() { return 0; }
int32_t setDevice(uint32_t, uint32_t, uint32_t, uint32_t) { return 0; }
int32_t openPort() { return 0; }
int32_t closePort() { return 0; }
int32_t uninitialize() { return 0; }
int32_t burnToFlash(const char*, RTICE_ProgressCallback) { return 0; }
int32_t burnHDCP(const char*) { return 0; }
int32_t AT_USB_Get_SerialNum(uint8_t*, uint32_t, uint32_t*) { return 0; }
int32_t AT_USB_Set_SerialNum(const uint8_t*, uint32_t) { return 0; }
int32_t AT_RestoreToDefault() { return 0; }
int32_t AT_Set_System_Reboot() { return 0; }
int32_t AT_Get_Customer_Ver(uint8_t* buffer) {
  std::memcpy(buffer, "replaced", 9);
  return 0;
}
int32_t AT_Get_UVC_Name(uint8_t*, uint32_t, uint32_t*) { return 0; }
int32_t AT_USB_Get_iManufacturer(uint8_t* buffer, uint32_t) {
  std::memcpy(buffer, "Other", 6);
  return 5;
}
int32_t AT_USB_Get_iProduct(uint8_t*, uint32_t) { return 0; }
int32_t AT_System_Send_ExternalMCU_cmd(uint8_t, uint8_t, uint16_t, const uint8_t*) { return 0; }
int32_t AT_System_Get_ExternalMCU_cmd(uint8_t, uint8_t, unsigned int, const uint8_t*, unsigned int,
                                      uint8_t* readBuffer) {
  readBuffer[0] = 0x34;
  return 0;
}
int32_t AT_HdmiRX_GetRawTimingInfo(uint8_t*) { return 0; }
int32_t AT_Get_Current_Input_Source(uint8_t*) { return 0; }
int32_t AT_Input_Source_Switch(const uint8_t*) { return 0; }
int32_t AT_HdmiRX_Set_HPD(int32_t) { return 0; }
int32_t AT_HdmiTX_Get_HPD_Status(int32_t*) { return 0; }
int32_t AT_UVC_Get_Output_Timing(uint8_t*) { return 0; }
int32_t AT_UVC_Get_VideoFormat(uint8_t*) { return 0; }
int32_t AT_Get_RX_TX_HDCP_Version(uint8_t*) { return 0; }
int32_t AT_Audio_Get_HdmiRX_AudioFormat(uint8_t*) { return 0; }
int32_t AT_Audio_Get_HdmiRX_AudioSamplingRate(uint8_t*) { return 0; }
int32_t AT_Audio_Get_HdmiDPRX_VolumeGain(int16_t*) { return 0; }
int32_t AT_Audio_Set_HdmiDPRX_VolumeGain(int32_t) { return 0; }
int32_t AT_Audio_Get_HPOUTgain(int16_t*) { return 0; }
int32_t AT_Audio_Set_HPOUTgain(const int16_t*) { return 0; }
int32_t AT_Audio_Get_DACHP_Mute(uint8_t*) { return 0; }
int32_t AT_Audio_Set_DACHP_Mute(int32_t) { return 0; }
int32_t AT_EDID_Get_EDID_mode(uint8_t*) { return 0; }
int32_t AT_EDID_Set_EDID_mode(int32_t) { return 0; }
int32_t AT_EDID_Flash_Get_Default_table(uint8_t*) { return 0; }
int32_t AT_EDID_Flash_Set_Default_table(uint8_t) { return 0; }
int32_t AT_EDID_Flash_Get_table(uint8_t, uint8_t*, uint32_t) { return 0; }
int32_t AT_EDID_Flash_Set_table(uint8_t, const uint8_t*, uint32_t) { return 0; }
int32_t AT_EDID_Get_TX_table(uint32_t, uint8_t*) { return 0; }
int32_t AT_EDID_DDC_Get_RX_table(uint32_t, uint8_t*) { return 0; }
int32_t AT_GPIO_Get_Param(uint8_t, uint8_t, uint8_t*) { return 0; }
int32_t AT_GPIO_Set_Param(uint8_t, uint8_t, uint8_t) { return 0; }
int32_t AT_SetHDMI_HDCP_OnOff(int32_t) { return 0; }
}
