#pragma once

#include "tests/support/program_run.h"

#include <QByteArray>
#include <QProcess>
#include <QStringList>

/// How a run of pellavox-cli ended.
struct Ended {
  int code = -1;
  QByteArray out;
  QByteArray err;
};

/// Runs it with no terminal and nothing to read.
inline Ended run(const QStringList& arguments, const QProcessEnvironment& environment) {
  QProcess process;
  process.setProcessEnvironment(environment);
  process.start(COMMAND_LINE, arguments);
  process.closeWriteChannel();
  Ended ended;
  if (process.waitForFinished(60'000) && process.exitStatus() == QProcess::NormalExit) {
    ended.code = process.exitCode();
  }
  ended.out = process.readAllStandardOutput();
  ended.err = process.readAllStandardError();
  return ended;
}

/// A replay must not need a device: the simulated one is told of a scenario that
/// is not there, with which no call succeeds.
inline QProcessEnvironment withoutDevice() {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("RTICE_SIMULATOR_SCENARIO", "no-such-scenario.json");
  return environment;
}
