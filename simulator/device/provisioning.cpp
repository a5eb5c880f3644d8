#include "simulator/device/provisioning.h"

#include "simulator/device/identity.h"

namespace simulator {

void Provisioning::configure(const Section& scenario) {
  if (const auto identity = scenario.section("identity", Identity::kIdentityKeys)) {
    serialNumber_ = identity->text("serialNumber", kMaxSerialNumber).value_or(serialNumber_);
  }
}

}  // namespace simulator
