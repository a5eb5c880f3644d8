#include "simulator/library/session.h"

#include "simulator/device/status.h"

namespace simulator {

std::int32_t Session::initialize() {
  if (state_ == State::kOpen) {
    if (stale_) {
      *this = Session();
    }
    return kWrongOrder;
  }
  state_ = State::kInitialized;
  return kOk;
}

std::int32_t Session::setDevice(const Device& device, std::uint32_t vid, std::uint32_t pid) {
  if (state_ == State::kStart) {
    return kNotInitialized;
  }
  if (state_ == State::kOpen) {
    return kWrongOrder;
  }
  state_ = State::kInitialized;
  if (!device.isReachable()) {
    return kDeviceGone;
  }
  if (vid != device.identity.vendorId() || pid != device.identity.productId()) {
    return kNoSuchDevice;
  }
  state_ = State::kSelected;
  return kOk;
}

std::int32_t Session::openPort(const Device& device) {
  if (state_ == State::kStart) {
    return kNotInitialized;
  }
  if (state_ != State::kSelected) {
    return kWrongOrder;
  }
  if (!device.isReachable()) {
    return kDeviceGone;
  }
  state_ = State::kOpen;
  device_ = &device;
  return kOk;
}

std::int32_t Session::closePort(const Device& device) {
  if (state_ == State::kStart) {
    return kNotInitialized;
  }
  if (state_ != State::kOpen) {
    return kNoPort;
  }
  state_ = State::kSelected;
  stale_ = false;
  return isPortOf(device) && device.isReachable() ? kOk : kDeviceGone;
}

std::int32_t Session::uninitialize() {
  if (state_ == State::kStart) {
    return kNotInitialized;
  }
  *this = Session();
  return kOk;
}

}  // namespace simulator
