#include "simulator/device/device.h"

#include "simulator/device/state_bytes.h"
#include "simulator/scenario/scenario_tree.h"

#include <algorithm>
#include <string_view>

namespace simulator {

namespace {

void programText(Eeprom& eeprom, std::size_t address, std::string_view text) {
  eeprom.program(address, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

}  // namespace

Device::Device() {
  programText(boardEeprom, 0, "KVR BOARD REV B");
  programText(calibrationEeprom, 0x0100, "KVR CALIBRATION");
  i2c.attach(mcu);
  i2c.attach(boardEeprom);
  i2c.attach(calibrationEeprom);
  i2c.attach(sensor);
}

void Device::configure(const Section& scenario) {
  identity.configure(scenario);
  receiver.configure(scenario);
  transmitter.configure(scenario);
  audio.configure(scenario);
  edid.configure(scenario);
  mcu.configure(scenario);
  provisioning.configure(scenario);
  flash.configure(scenario);
  faults.configure(scenario);
  if (const auto after = scenario.milliseconds("unplugAfterMs", 0)) {
    unplugAt_ = *after;
  }
  if (const auto after = scenario.milliseconds("unplugAfterIdleMs", 1)) {
    unplugAfterIdle_ = *after;
  }
}

void Device::unplug(std::chrono::nanoseconds away) {
  if (plugged_) {
    plugged_ = false;
    replugAt_ = away > std::chrono::nanoseconds::zero() ? std::optional(clock.now() + away) : std::nullopt;
    mcu.powerOff();
  }
}

void Device::plugWhenDue() {
  if (unplugAt_ && clock.now() >= *unplugAt_) {
    unplugAt_.reset();
    unplug();
  }
  if (unplugAfterIdle_ && clock.now() >= workedOnAt_ + *unplugAfterIdle_) {
    unplug();
  }
  if (replugAt_ && clock.now() >= *replugAt_) {
    replug();
  }
}

void Device::postpone(std::chrono::nanoseconds by) {
  if (unplugAt_) {
    *unplugAt_ += by;
  }
  workedOnAt_ += by;
}

void Device::unplugIfRequested() {
  if (const auto fault = faults.takeUnplug()) {
    unplug(fault->delay);
  }
}

void Device::replug() {
  replugAt_.reset();
  if (!plugged_) {
    plugged_ = true;
    powerCycle();
  }
}

void Device::restart() {
  awayUntil_ = clock.now() + clock.scaled(kRestartTime);
  mcu.powerOff();
  powerCycle();
}

void Device::powerCycle() {
  receiver.powerCycle();
  boardEeprom.powerCycle();
  calibrationEeprom.powerCycle();
  sensor.powerCycle();
  gpio.powerCycle();
  flash.powerCycle();
  mcu.powerOn();
}

void Device::finishWork() {
  if (clock.skipsWaiting()) {
    const auto ready = std::max({awayUntil_, mcu.readyAt(), boardEeprom.readyAt(), calibrationEeprom.readyAt()});
    clock.advance(std::max(ready - clock.now(), std::chrono::nanoseconds::zero()));
  }
}

std::string Device::modelAndFamily() const {
  const std::uint8_t family = mcu.familyCode();
  return identity.model() + " with MCU family " +
         (family > 0x20 && family < 0x7F ? std::string(1, static_cast<char>(family)) : std::to_string(family));
}

void Device::storeSettings(StateWriter& writer) const {
  receiver.store(writer);
  transmitter.store(writer);
  audio.store(writer);
  edid.storeSettings(writer);
  gpio.store(writer);
  sensor.store(writer);
  writer.time(awayUntil_);
}

void Device::restoreSettings(StateReader& reader) {
  receiver.restore(reader);
  transmitter.restore(reader);
  audio.restore(reader);
  edid.restoreSettings(reader);
  gpio.restore(reader);
  sensor.restore(reader);
  awayUntil_ = reader.time();
}

void Device::restoreDefaults() {
  receiver.restoreDefaults();
  transmitter.restoreDefaults();
  audio.restoreDefaults();
  edid.restoreDefaults();
  gpio.restoreDefaults();
}

}  // namespace simulator
