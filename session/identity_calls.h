#pragma once

#include "device/result.h"
#include "device/text.h"

#include <cstdint>

/// Who the device is. One library call each; any thread.
namespace session {

/// Version of the capture firmware, as UTF-8 says it.
device::Result<QString> readCaptureVersion();

/// Version of the external MCU's application firmware: high nibble major, low
/// nibble minor (`mainVersionText`).
device::Result<std::uint8_t> readMcuVersion();

/// Name of the UVC device.
device::Result<device::ReportedText> readUvcName();

/// USB manufacturer string. The text ends at the length that the library
/// reports, as far as its buffer holds that.
device::Result<device::ReportedText> readManufacturer();

/// USB product string; as `readManufacturer`.
device::Result<device::ReportedText> readProduct();

}  // namespace session
