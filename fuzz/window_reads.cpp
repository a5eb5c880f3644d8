/// @file
/// Every read button of the window against a library that returns anything. For
/// each operation in turn the input gives one byte (bit 7: another status than
/// success, taken from the next four bytes; bits 0 to 6: how many bytes it
/// writes) and then those bytes; what is missing is zero.
#include "device/bytes.h"
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "fuzz/window.h"
#include "simulator/control/control.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>

#include <vector>

namespace {

constexpr const char* kReadOperations[] = {
    "AT_HdmiRX_GetRawTimingInfo",
    "AT_Get_Current_Input_Source",
    "AT_HdmiTX_Get_HPD_Status",
    "AT_UVC_Get_Output_Timing",
    "AT_UVC_Get_VideoFormat",
    "AT_Get_RX_TX_HDCP_Version",
    "AT_Audio_Get_HdmiRX_AudioFormat",
    "AT_Audio_Get_HdmiRX_AudioSamplingRate",
    "AT_Audio_Get_HdmiDPRX_VolumeGain",
    "AT_Audio_Get_DACHP_Mute",
    "AT_Audio_Get_HPOUTgain",
    "AT_Get_Customer_Ver",
    "AT_Get_UVC_Name",
    "AT_USB_Get_iManufacturer",
    "AT_USB_Get_iProduct",
    "AT_USB_Get_SerialNum",
    "AT_System_Get_ExternalMCU_cmd",
    "AT_EDID_Get_EDID_mode",
    "AT_EDID_Flash_Get_Default_table",
    "AT_GPIO_Get_Param",
};

constexpr const char* kReadButtons[] = {"BN_Info_Read", "BN_Video_Read", "BN_Audio_Read", "BN_SN_Read",
                                        "BN_EDID_Read", "BN_I2C_Read",   "BN_GPIO_Read"};

/// Connects anew and presses every read button.
void readEverything() {
  static auto& types = fuzz::widget<QComboBox>("CB_DeviceType");
  static auto& connectButton = fuzz::widget<QAbstractButton>("BN_Connect");
  static const std::vector<QAbstractButton*> readButtons = [] {
    std::vector<QAbstractButton*> buttons;
    for (const char* const name : kReadButtons) {
      buttons.push_back(&fuzz::widget<QAbstractButton>(name));
    }
    return buttons;
  }();

  // An unchanged device would be kept as it is connected.
  types.setCurrentIndex(1);
  connectButton.click();
  types.setCurrentIndex(0);
  connectButton.click();
  fuzz::require(fuzz::widget<QLabel>("LB_Message").text() == QLatin1String("Device Connected"),
                "a device connects, whatever its identity reads as");
  for (QAbstractButton* const button : readButtons) {
    button->click();
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  simulator::reset();
  simulator::useVirtualTime();
  fuzz::Input input({data, size});
  for (const char* const operation : kReadOperations) {
    const std::uint8_t control = input.takeByte();
    const std::int32_t status =
        (control & 0x80) != 0 ? static_cast<std::int32_t>(device::readU32le(input.take(4), 0)) : 0;
    const std::vector<std::uint8_t> answer = input.take(control & 0x7F);
    // Some are called by two of the buttons.
    for (const unsigned call : {1U, 2U}) {
      simulator::answerCall(operation, call, status, answer);
    }
  }
  readEverything();
  return 0;
}
