#include "simulator/device/i2c_bus.h"

namespace simulator {

I2cTarget* I2cBus::targetAt(std::uint8_t address) const {
  for (I2cTarget* target : targets_) {
    if (target->answersAt(address)) {
      return target;
    }
  }
  return nullptr;
}

}  // namespace simulator
