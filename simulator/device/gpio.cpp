#include "simulator/device/gpio.h"

#include "simulator/device/state_bytes.h"

#include <algorithm>

namespace simulator {

void Gpio::store(StateWriter& writer) const {
  for (const auto& group : pins_) {
    writer.raw(group);
  }
}

void Gpio::restore(StateReader& reader) {
  for (auto& group : pins_) {
    const auto values = reader.raw(group.size());
    std::copy(values.begin(), values.end(), group.begin());
  }
}

}  // namespace simulator
