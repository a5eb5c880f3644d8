#include "simulator/device_model.h"

namespace simulator {

Device::Device() { i2c.attach(mcu); }

void Device::configure(const Section& scenario) {
  identity.configure(scenario);
  receiver.configure(scenario);
  transmitter.configure(scenario);
  audio.configure(scenario);
  mcu.configure(scenario);
  provisioning.configure(scenario);
  flash.configure(scenario);
}

void Device::replug() {
  if (!plugged_) {
    plugged_ = true;
    powerCycle();
  }
}

void Device::restart() {
  awayUntil_ = clock.now() + clock.scaled(kRestartTime);
  powerCycle();
}

void Device::powerCycle() {
  receiver.powerCycle();
  gpio.powerCycle();
}

void Device::restoreDefaults() {
  receiver.restoreDefaults();
  transmitter.restoreDefaults();
  audio.restoreDefaults();
  edid.restoreDefaults();
}

}  // namespace simulator
