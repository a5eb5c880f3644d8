#include "simulator/device/provisioning.h"

#include "simulator/device/identity.h"
#include "simulator/device/state_bytes.h"
#include "simulator/scenario/scenario_tree.h"

namespace simulator {

void Provisioning::configure(const Section& scenario) {
  if (const auto identity = scenario.section("identity", Identity::kIdentityKeys)) {
    serialNumber_ = identity->text("serialNumber", kMaxSerialNumber).value_or(serialNumber_);
  }
}

void Provisioning::store(StateWriter& writer) const {
  writer.text(serialNumber_);
  writer.block(key_);
}

void Provisioning::restore(StateReader& reader) {
  serialNumber_ = reader.text(kMaxSerialNumber);
  const auto key = reader.block(kMaxKeySize);
  key_.assign(key.begin(), key.end());
}

}  // namespace simulator
