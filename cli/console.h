#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>
#include <optional>

namespace cli {

/// The program's surroundings as a run sees them; tests give others.
struct Console {
  /// Writes data to standard output; false when that fails.
  std::function<bool(const QByteArray&)> out;
  /// Writes to standard error.
  std::function<void(const QByteArray&)> err;
  /// A line typed at the terminal; empty at the input's end.
  std::function<std::optional<QString>()> readLine;
  /// All of standard input.
  std::function<QByteArray()> readAll;
  int columns = 80;             ///< of the terminal that standard error is
  bool asksAtTerminal = false;  ///< input and standard error are a terminal
  bool showsErrorsAtTerminal = false;
  bool usesColour = false;  ///< NO_COLOR is not set
  std::function<void(std::chrono::milliseconds)> pause;
  /// Pauses, but not beyond a request to end.
  std::function<void(std::chrono::nanoseconds)> rest;
  std::function<std::chrono::steady_clock::time_point()> now;
  QString library;     ///< the device library's path, unless an option names another
  QString lockFolder;  ///< where locks against a second instance lie
};

/// Gives the numbers of closed standard streams to something that is empty and cannot be
/// written: the next file opened would get them, and the results as well. Call it before
/// anything is opened.
void occupyClosedStreams();

/// The process's own.
Console processConsole();

/// The process's arguments without the program's name, also beyond ASCII.
QStringList processArguments(int argc, char** argv);

}  // namespace cli
