#include "session/connection.h"

#include "device/RTICE_SDK_x64.h"

namespace session {

bool keepsSession(bool connected, const device::UsbIds& current, const device::UsbIds& wanted) {
  return connected && current == wanted;
}

tl::expected<void, OpenFailure> openSession(const device::UsbIds& ids, const std::function<void(OpenStep)>& stepDone) {
  const auto done = [&stepDone](OpenStep step) {
    if (stepDone) {
      stepDone(step);
    }
  };
  const auto failed = [](OpenStep step, std::int32_t status) {
    return tl::unexpected<OpenFailure>(OpenFailure{step, status});
  };

  if (const std::int32_t status = initialize(); status != 0) {
    return failed(OpenStep::kInitialize, status);
  }
  done(OpenStep::kInitialize);

  if (const std::int32_t status = setDevice(0, 0, ids.vid, ids.pid); status != 0) {
    uninitialize();
    return failed(OpenStep::kSetDevice, status);
  }
  done(OpenStep::kSetDevice);

  if (const std::int32_t status = openPort(); status != 0) {
    uninitialize();
    return failed(OpenStep::kOpenPort, status);
  }
  done(OpenStep::kOpenPort);
  return {};
}

device::Result<> closeSession() { return device::resultOf(closePort()); }

device::Result<> releaseLibrary() { return device::resultOf(uninitialize()); }

}  // namespace session
