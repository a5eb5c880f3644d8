#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>

/// Result of a program that was run to its end.
struct EndedProcess {
  int code = -1;  ///< stays -1 if it crashed or hung
  QByteArray out;
  QByteArray err;
};

/// Runs a program as users start it, without a terminal.
inline EndedProcess runToEnd(const QString& program, const QStringList& arguments, const QByteArray& input = {},
                             const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
  QProcess process;
  process.setProcessEnvironment(environment);
  process.start(program, arguments);
  process.write(input);
  process.closeWriteChannel();
  EndedProcess ended;
  if (process.waitForFinished(60'000) && process.exitStatus() == QProcess::NormalExit) {
    ended.code = process.exitCode();
  }
  ended.out = process.readAllStandardOutput();
  ended.err = process.readAllStandardError();
  return ended;
}
