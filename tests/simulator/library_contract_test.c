/* The contract as a C program sees it: the header is C11, every operation has
 * exactly the type it was agreed to have, and the library has them all. The types
 * are written out here once more so that a change of the header is noticed. */
#include "device/RTICE_SDK_x64.h"

#include <stddef.h>
#include <stdio.h>

#define CHECK_TYPE(operation, type) \
  _Static_assert(_Generic(&operation, type : 1, default : 0), #operation " has another type")

CHECK_TYPE(initialize, int32_t (*)(void));
CHECK_TYPE(setDevice, int32_t (*)(uint32_t, uint32_t, uint32_t, uint32_t));
CHECK_TYPE(openPort, int32_t (*)(void));
CHECK_TYPE(closePort, int32_t (*)(void));
CHECK_TYPE(uninitialize, int32_t (*)(void));
CHECK_TYPE(burnToFlash, int32_t (*)(const char*, RTICE_ProgressCallback));
CHECK_TYPE(burnHDCP, int32_t (*)(const char*));
CHECK_TYPE(AT_USB_Get_SerialNum, int32_t (*)(uint8_t*, uint32_t, uint32_t*));
CHECK_TYPE(AT_USB_Set_SerialNum, int32_t (*)(const uint8_t*, uint32_t));
CHECK_TYPE(AT_RestoreToDefault, int32_t (*)(void));
CHECK_TYPE(AT_Set_System_Reboot, int32_t (*)(void));
CHECK_TYPE(AT_Get_Customer_Ver, int32_t (*)(uint8_t*));
CHECK_TYPE(AT_Get_UVC_Name, int32_t (*)(uint8_t*, uint32_t, uint32_t*));
CHECK_TYPE(AT_USB_Get_iManufacturer, int32_t (*)(uint8_t*, uint32_t));
CHECK_TYPE(AT_USB_Get_iProduct, int32_t (*)(uint8_t*, uint32_t));
CHECK_TYPE(AT_System_Send_ExternalMCU_cmd, int32_t (*)(uint8_t, uint8_t, uint16_t, const uint8_t*));
CHECK_TYPE(AT_System_Get_ExternalMCU_cmd,
           int32_t (*)(uint8_t, uint8_t, unsigned int, const uint8_t*, unsigned int, uint8_t*));
CHECK_TYPE(AT_HdmiRX_GetRawTimingInfo, int32_t (*)(uint8_t*));
CHECK_TYPE(AT_Get_Current_Input_Source, int32_t (*)(uint8_t*));
CHECK_TYPE(AT_Input_Source_Switch, int32_t (*)(const uint8_t*));
CHECK_TYPE(AT_HdmiRX_Set_HPD, int32_t (*)(int32_t));
CHECK_TYPE(AT_HdmiTX_Get_HPD_Status, int32_t (*)(int32_t*));
CHECK_TYPE(AT_UVC_Get_Output_Timing, int32_t (*)(uint8_t*));
CHECK_TYPE(AT_UVC_Get_VideoFormat, int32_t (*)(uint8_t*));
CHECK_TYPE(AT_Get_RX_TX_HDCP_Version, int32_t (*)(uint8_t*));
CHECK_TYPE(AT_Audio_Get_HdmiRX_AudioFormat, int32_t (*)(uint8_t*));
CHECK_TYPE(AT_Audio_Get_HdmiRX_AudioSamplingRate, int32_t (*)(uint8_t*));
CHECK_TYPE(AT_Audio_Get_HdmiDPRX_VolumeGain, int32_t (*)(int16_t*));
CHECK_TYPE(AT_Audio_Set_HdmiDPRX_VolumeGain, int32_t (*)(int32_t));
CHECK_TYPE(AT_Audio_Get_HPOUTgain, int32_t (*)(int16_t*));
CHECK_TYPE(AT_Audio_Set_HPOUTgain, int32_t (*)(const int16_t*));
CHECK_TYPE(AT_Audio_Get_DACHP_Mute, int32_t (*)(uint8_t*));
CHECK_TYPE(AT_Audio_Set_DACHP_Mute, int32_t (*)(int32_t));
CHECK_TYPE(AT_EDID_Get_EDID_mode, int32_t (*)(uint8_t*));
CHECK_TYPE(AT_EDID_Set_EDID_mode, int32_t (*)(int32_t));
CHECK_TYPE(AT_EDID_Flash_Get_Default_table, int32_t (*)(uint8_t*));
CHECK_TYPE(AT_EDID_Flash_Set_Default_table, int32_t (*)(uint8_t));
CHECK_TYPE(AT_EDID_Flash_Get_table, int32_t (*)(uint8_t, uint8_t*, uint32_t));
CHECK_TYPE(AT_EDID_Flash_Set_table, int32_t (*)(uint8_t, const uint8_t*, uint32_t));
CHECK_TYPE(AT_EDID_Get_TX_table, int32_t (*)(uint32_t, uint8_t*));
CHECK_TYPE(AT_EDID_DDC_Get_RX_table, int32_t (*)(uint32_t, uint8_t*));
CHECK_TYPE(AT_GPIO_Get_Param, int32_t (*)(uint8_t, uint8_t, uint8_t*));
CHECK_TYPE(AT_GPIO_Set_Param, int32_t (*)(uint8_t, uint8_t, uint8_t));
CHECK_TYPE(AT_SetHDMI_HDCP_OnOff, int32_t (*)(int32_t));

_Static_assert(RTICE_RAW_TIMING_INFO_SIZE == 48, "the record has 48 bytes");

/* Functions cannot be kept in an array of void pointers in C; any function
 * pointer type may hold them all. */
typedef void (*Operation)(void);

static const Operation kOperations[] = {
#define OPERATION(name, ...) (Operation) name,
#include "device/operations.inc"
#undef OPERATION
};

int main(void) {
  size_t present = 0;
  for (size_t i = 0; i < sizeof kOperations / sizeof kOperations[0]; ++i) {
    present += kOperations[i] != NULL;
  }
  printf("%zu operations\n", present);
  if (present != 44) {
    return 1;
  }
  /* A few calls, with the calling convention that C uses. */
  uint8_t version[128];
  if (AT_Get_Customer_Ver(version) == 0 || initialize() != 0 || setDevice(0, 0, 0x5C19, 0x6B03) != 0 ||
      openPort() != 0 || AT_Get_Customer_Ver(version) != 0 || closePort() != 0 || uninitialize() != 0) {
    printf("a session could not be run\n");
    return 1;
  }
  return 0;
}
