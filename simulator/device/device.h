#pragma once

#include "simulator/device/audio.h"
#include "simulator/device/capture_flash.h"
#include "simulator/device/clock.h"
#include "simulator/device/edid_store.h"
#include "simulator/device/eeprom.h"
#include "simulator/device/external_mcu.h"
#include "simulator/device/fault_plan.h"
#include "simulator/device/gpio.h"
#include "simulator/device/i2c_bus.h"
#include "simulator/device/identity.h"
#include "simulator/device/provisioning.h"
#include "simulator/device/receiver.h"
#include "simulator/device/temperature_sensor.h"
#include "simulator/device/transfers.h"
#include "simulator/device/transmitter.h"

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace simulator {

class Section;
class StateReader;
class StateWriter;

/// The simulated capture device. Its parts see each other's state only through
/// the device, which keeps them consistent.
class Device {
 public:
  /// A device in its default state, which embeds the default scenario.
  Device();
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;
  ~Device() = default;

  /// Takes from a scenario what each part knows of it.
  /// @throws ScenarioError
  static constexpr auto kKeys = std::to_array<std::string_view>({"unplugAfterMs", "unplugAfterIdleMs"});
  void configure(const Section& scenario);

  /// Whether the device is on the USB bus now.
  bool isReachable() const { return plugged_ && clock.now() >= awayUntil_; }
  /// @param away for how long; 0 = until `replug`
  void unplug(std::chrono::nanoseconds away = {});
  void replug();
  /// Whether the plug has been pulled, and is not due to come back.
  bool isUnplugged() const { return !plugged_ && !replugAt_; }
  /// Pulls a plug, or puts one back, that is due.
  void plugWhenDue();
  /// Moves a scenario's times to a clock that has gone on since.
  void postpone(std::chrono::nanoseconds by);
  /// Notes that somebody is at work on the device, whose plug stays where it is.
  void noteWork() { workedOnAt_ = clock.now(); }
  /// Does what a fault inside the device has asked for.
  void unplugIfRequested();
  /// Restarts the device, which leaves the bus for kRestartTime.
  void restart();
  void restoreDefaults();

  /// Notes that the operation that runs takes this long on top of its latency,
  /// at the device's speed factor.
  void spend(std::chrono::nanoseconds nominal) { spent_ += clock.scaled(nominal); }
  std::chrono::nanoseconds takeSpentTime() { return std::exchange(spent_, {}); }

  /// Under a clock that skips waiting: advances it to the end of what the device
  /// is doing.
  void finishWork();

  /// "KVR-7 with MCU family 2": what decides which state fits the device.
  std::string modelAndFamily() const;
  /// Everything that can be set, and what the device is doing; the parts with
  /// memories store themselves.
  void storeSettings(StateWriter& writer) const;
  /// @throws StateError
  void restoreSettings(StateReader& reader);

  static constexpr std::chrono::milliseconds kRestartTime{1500};

  Clock clock;
  FaultPlan faults;
  Identity identity;
  Receiver receiver;
  Transmitter transmitter;
  Audio audio;
  EdidStore edid;
  I2cBus i2c;
  Eeprom boardEeprom{0x50, Eeprom::k24C02, clock};
  Eeprom calibrationEeprom{0x54, Eeprom::k24C64, clock};
  TemperatureSensor sensor;
  ExternalMcu mcu{clock, faults};
  Gpio gpio;
  Provisioning provisioning;
  CaptureFlash flash;
  Transfers transfers{faults};

 private:
  void powerCycle();

  bool plugged_ = true;
  std::optional<std::chrono::nanoseconds> unplugAt_;
  std::optional<std::chrono::nanoseconds> replugAt_;
  std::optional<std::chrono::nanoseconds> unplugAfterIdle_;
  std::chrono::nanoseconds workedOnAt_{};
  std::chrono::nanoseconds awayUntil_{};
  std::chrono::nanoseconds spent_{};
};

}  // namespace simulator
