#pragma once

#include "device/usb_ids.h"
#include "station/unit_steps.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace station {

/// What a unit's run takes from the outside, so that tests can give other things.
/// All members are set.
struct Surroundings {
  device::Pause pause;
  std::function<std::chrono::steady_clock::time_point()> now;
  std::function<bool()> stopRequested;
};

/// The port to the unit that is plugged in. Closed when this goes.
class DeviceLink {
 public:
  DeviceLink(const device::UsbIds& ids, const Surroundings& surroundings) : ids_(ids), outside_(surroundings) {}
  ~DeviceLink() { close(); }
  DeviceLink(const DeviceLink&) = delete;
  DeviceLink& operator=(const DeviceLink&) = delete;

  /// How waiting for a unit ended.
  enum class Wait : std::uint8_t { kThere, kTooLong, kStopped };

  /// Opens the port as soon as a unit answers and tells who it is.
  /// @param within how long to wait; empty = as long as it takes
  /// @param identity receives what it says
  /// @param reason receives why the last try failed
  Wait open(std::optional<std::chrono::milliseconds> within, Identity* identity, QString* reason);
  /// Waits until no device answers at the open port, then closes it.
  Wait waitUntilUnplugged();
  void close();

 private:
  bool tryOpen(QString* reason);

  device::UsbIds ids_;
  const Surroundings& outside_;
  bool isOpen_ = false;
};

}  // namespace station
