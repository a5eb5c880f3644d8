#pragma once

#include "tests/support/ended_process.h"

/// Runs the command line without input.
inline EndedProcess run(const QStringList& arguments, const QProcessEnvironment& environment) {
  return runToEnd(COMMAND_LINE, arguments, {}, environment);
}

/// A replay must not need a device. The simulated one gets a missing scenario, so that
/// all its calls fail.
inline QProcessEnvironment withoutDevice() {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("RTICE_SIMULATOR_SCENARIO", "no-such-scenario.json");
  return environment;
}
