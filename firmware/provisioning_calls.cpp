#include "firmware/provisioning_calls.h"

#include "device/RTICE_SDK_x64.h"
#include "device/answer.h"

namespace firmware {

device::Result<device::ReportedText> readSerialNumber() { return device::readReportedText<100>(AT_USB_Get_SerialNum); }

device::Result<> setSerialNumber(const QString& serialNumber) {
  const QByteArray bytes = serialNumber.toUtf8();
  return device::resultOf(AT_USB_Set_SerialNum(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                                               static_cast<std::uint32_t>(bytes.size())));
}

device::Result<> burnKey(const QString& path) { return device::resultOf(burnHDCP(path.toUtf8().constData())); }

device::Result<> restoreDefaults() { return device::resultOf(AT_RestoreToDefault()); }

device::Result<> reboot() { return device::resultOf(AT_Set_System_Reboot()); }

}  // namespace firmware
