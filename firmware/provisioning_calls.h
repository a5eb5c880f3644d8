#pragma once

#include "device/result.h"
#include "device/text.h"

/// What a device is given once: serial number and key; and its settings. One
/// library call each; any thread.
namespace firmware {

/// The USB serial number, read as Latin-1.
device::Result<device::ReportedText> readSerialNumber();

/// Writes the USB serial number as UTF-8, exactly as given.
device::Result<> setSerialNumber(const QString& serialNumber);

/// Writes an HDCP key file into the device's key store. The library reads the
/// file itself.
device::Result<> burnKey(const QString& path);

/// Restores the factory defaults.
device::Result<> restoreDefaults();

/// Restarts the device, which leaves the USB bus for a moment.
device::Result<> reboot();

}  // namespace firmware
