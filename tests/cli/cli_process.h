#pragma once

#include "tests/support/ended_process.h"

/// Runs the command line.
inline EndedProcess runProgram(const QStringList& arguments, const QByteArray& input = {}) {
  return runToEnd(PROGRAM, arguments, input);
}
