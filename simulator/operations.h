#pragma once

#include <array>
#include <string_view>

namespace simulator {

/// The names of the 44 operations, in the header's order.
constexpr std::array<std::string_view, 44> kOperations{
    "initialize",
    "setDevice",
    "openPort",
    "closePort",
    "uninitialize",
    "burnToFlash",
    "burnHDCP",
    "AT_USB_Get_SerialNum",
    "AT_USB_Set_SerialNum",
    "AT_RestoreToDefault",
    "AT_Set_System_Reboot",
    "AT_Get_Customer_Ver",
    "AT_Get_UVC_Name",
    "AT_USB_Get_iManufacturer",
    "AT_USB_Get_iProduct",
    "AT_System_Send_ExternalMCU_cmd",
    "AT_System_Get_ExternalMCU_cmd",
    "AT_HdmiRX_GetRawTimingInfo",
    "AT_Get_Current_Input_Source",
    "AT_Input_Source_Switch",
    "AT_HdmiRX_Set_HPD",
    "AT_HdmiTX_Get_HPD_Status",
    "AT_UVC_Get_Output_Timing",
    "AT_UVC_Get_VideoFormat",
    "AT_Get_RX_TX_HDCP_Version",
    "AT_Audio_Get_HdmiRX_AudioFormat",
    "AT_Audio_Get_HdmiRX_AudioSamplingRate",
    "AT_Audio_Get_HdmiDPRX_VolumeGain",
    "AT_Audio_Set_HdmiDPRX_VolumeGain",
    "AT_Audio_Get_HPOUTgain",
    "AT_Audio_Set_HPOUTgain",
    "AT_Audio_Get_DACHP_Mute",
    "AT_Audio_Set_DACHP_Mute",
    "AT_EDID_Get_EDID_mode",
    "AT_EDID_Set_EDID_mode",
    "AT_EDID_Flash_Get_Default_table",
    "AT_EDID_Flash_Set_Default_table",
    "AT_EDID_Flash_Get_table",
    "AT_EDID_Flash_Set_table",
    "AT_EDID_Get_TX_table",
    "AT_EDID_DDC_Get_RX_table",
    "AT_GPIO_Get_Param",
    "AT_GPIO_Set_Param",
    "AT_SetHDMI_HDCP_OnOff",
};

}  // namespace simulator
