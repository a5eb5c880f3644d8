#include "session/identity_calls.h"

#include "device/RTICE_SDK_x64.h"
#include "device/answer.h"
#include "device/ext_mcu_channel.h"
#include "session/identity.h"

namespace session {
namespace {

constexpr std::uint32_t kNameCapacity = 100;
// What the library is told of a buffer of 100 bytes.
constexpr std::uint32_t kUsbStringCapacity = 64;

device::Result<device::ReportedText> readUsbString(std::int32_t (*operation)(std::uint8_t*, std::uint32_t)) {
  device::Answer<std::array<std::uint8_t, kNameCapacity>> text;
  const std::int32_t length = operation(text.value.data(), kUsbStringCapacity);
  if (length < 0) {
    return device::failure(length);
  }
  return device::ReportedText{usbStringText(text.value, length), static_cast<std::uint32_t>(length)};
}

}  // namespace

device::Result<QString> readCaptureVersion() {
  return device::readRecord<128>(AT_Get_Customer_Ver).map([](const auto& text) { return device::utf8Text(text); });
}

device::Result<std::uint8_t> readMcuVersion() {
  return device::readRegister(device::kI2cBus, device::kMcuApplication, device::kMcuVersionRegister);
}

device::Result<device::ReportedText> readUvcName() { return device::readReportedText<kNameCapacity>(AT_Get_UVC_Name); }

device::Result<device::ReportedText> readManufacturer() { return readUsbString(AT_USB_Get_iManufacturer); }

device::Result<device::ReportedText> readProduct() { return readUsbString(AT_USB_Get_iProduct); }

}  // namespace session
