/// @file
/// The library calls of `pellavox-cli info` and nothing else.
#include "device/RTICE_SDK_x64.h"

#include <QString>

#include <array>

int main() {
  std::array<std::uint8_t, 128> text{};
  const std::uint8_t versionRegister = 2;
  std::uint8_t version = 0;
  std::uint32_t length = 0;
  bool good = initialize() == 0 && setDevice(0, 0, 0x5C19, 0x6B03) == 0 && openPort() == 0;
  good = AT_Get_Customer_Ver(text.data()) == 0 && good;
  good = AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, &versionRegister, 1, &version) == 0 && good;
  good = AT_Get_UVC_Name(text.data(), 128, &length) == 0 && good;
  good = AT_USB_Get_iManufacturer(text.data(), 128) > 0 && good;
  good = AT_USB_Get_iProduct(text.data(), 128) > 0 && good;
  closePort();
  uninitialize();
  return good && !QString::number(version).isEmpty() ? 0 : 1;
}
