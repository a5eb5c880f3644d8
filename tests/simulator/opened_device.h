#pragma once

#include "simulator/control/control.h"
#include "tests/simulator/operation_table.h"

/// Opens the device of a scenario, in virtual time.
inline void openDevice(const std::string& scenario = "{}") {
  QCOMPARE(QString::fromStdString(simulator::loadScenario(scenario)), QString());
  simulator::useVirtualTime();
  openDefaultDevice();
}

/// The byte that an operation reads, or its status when it fails.
template <typename Read>
int byteOf(Read read) {
  std::uint8_t byte = 0xA5;
  const std::int32_t status = read(&byte);
  return status == 0 ? int{byte} : status;
}
