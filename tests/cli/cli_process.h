#pragma once

#include <QProcess>
#include <QStringList>

/// What came of a command line as a process of its own.
struct EndedProcess {
  int code = -1;  ///< stays so when it crashed or hung
  QByteArray out;
  QByteArray err;
};

/// Runs the program as users start it, without a terminal.
inline EndedProcess runProgram(const QStringList& arguments, const QByteArray& input = {}) {
  QProcess process;
  process.start(PROGRAM, arguments);
  process.write(input);
  process.closeWriteChannel();
  EndedProcess ended;
  if (process.waitForFinished(30'000) && process.exitStatus() == QProcess::NormalExit) {
    ended.code = process.exitCode();
  }
  ended.out = process.readAllStandardOutput();
  ended.err = process.readAllStandardError();
  return ended;
}
