#pragma once

#include <QString>

namespace session {

/// USB ids of a device type, as shown: hexadecimal without prefix.
struct DeviceIds {
  QString vid;
  QString pid;
};

/// The ids of a row of the device-type list: 0 is the KVR-7, every other value
/// the KVR-5B.
DeviceIds deviceIds(int row);

}  // namespace session
