#pragma once

#include "device/result.h"
#include "device/usb_ids.h"

#include <cstdint>
#include <functional>

/// Opening and closing the one session with a device. Not thread-safe.
namespace session {

/// The library calls that open a session, in their order.
enum class OpenStep : std::uint8_t { kInitialize, kSetDevice, kOpenPort };

/// Why no session was opened.
struct OpenFailure {
  OpenStep step;        ///< the call that failed
  std::int32_t status;  ///< what it returned
};

/// Whether a request to connect leaves the present session as it is: one is
/// open, and with the same ids.
bool keepsSession(bool connected, const device::UsbIds& current, const device::UsbIds& wanted);

/// Opens a session: prepares the library, selects the device, opens the port.
/// After a failure of the second or third step the library is released again.
/// @param stepDone called after each step that succeeded
tl::expected<void, OpenFailure> openSession(const device::UsbIds& ids,
                                            const std::function<void(OpenStep)>& stepDone = {});

/// Closes the port. The library stays prepared: another session may follow.
device::Result<> closeSession();

/// Gives the library's resources back, once the port is closed.
device::Result<> releaseLibrary();

}  // namespace session
