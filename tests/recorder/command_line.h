#pragma once

#include "tests/support/ended_process.h"

/// Runs the command line with nothing to read.
inline EndedProcess run(const QStringList& arguments, const QProcessEnvironment& environment) {
  return runToEnd(COMMAND_LINE, arguments, {}, environment);
}

/// A replay must not need a device: the simulated one is told of a scenario that
/// is not there, with which no call succeeds.
inline QProcessEnvironment withoutDevice() {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("RTICE_SIMULATOR_SCENARIO", "no-such-scenario.json");
  return environment;
}
