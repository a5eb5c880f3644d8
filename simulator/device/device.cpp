#include "simulator/device/device.h"

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
}

void Device::unplug() {
  if (plugged_) {
    plugged_ = false;
    mcu.powerOff();
  }
}

void Device::replug() {
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

void Device::restoreDefaults() {
  receiver.restoreDefaults();
  transmitter.restoreDefaults();
  audio.restoreDefaults();
  edid.restoreDefaults();
  gpio.restoreDefaults();
}

}  // namespace simulator
