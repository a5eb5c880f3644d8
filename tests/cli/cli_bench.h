#pragma once

#include "cli/interruption.h"
#include "cli/program.h"
#include "cli/value.h"
#include "simulator/control/control.h"
#include "tests/support/test_files.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

/// Runs command lines in this process, with the simulated device behind the gate
/// and in virtual time.
class CliBench : public TestFiles {
 public:
  /// Result of one command line.
  struct Result {
    int code = -1;
    QByteArray out;
    QByteArray err;

    /// The JSON document on standard output.
    cli::Value document() const {
      QString error;
      cli::Value value = cli::Value::fromJson(out, &error);
      return error.isEmpty() ? value : cli::Value();
    }
  };

  CliBench() { renew(); }

  /// A fresh device.
  void renew() {
    simulator::reset();
    simulator::useVirtualTime();
    cli::interruption::request(false);
    answers.clear();
    input.clear();
    isTerminal = false;
    columns = 80;
    onPause = {};
    onHint = {};
  }

  /// @param running set to the result while it is being collected
  Result run(const QStringList& arguments, Result** running = nullptr) {
    Result result;
    if (running != nullptr) {
      *running = &result;
    }
    cli::Console console;
    console.out = [&result](const QByteArray& bytes) {
      result.out += bytes;
      return true;
    };
    console.err = [this, &result](const QByteArray& bytes) {
      result.err += bytes;
      if (onHint) {
        onHint();
      }
    };
    console.readLine = [this]() -> std::optional<QString> {
      if (answers.isEmpty()) {
        return std::nullopt;
      }
      return answers.takeFirst();
    };
    console.readAll = [this] { return input; };
    console.asksAtTerminal = isTerminal;
    console.showsErrorsAtTerminal = isTerminal;
    console.columns = columns;
    console.pause = [this](std::chrono::milliseconds time) {
      simulator::advanceTime(time);
      if (onPause) {
        onPause();
      }
    };
    console.rest = [&console](std::chrono::nanoseconds time) {
      console.pause(std::chrono::duration_cast<std::chrono::milliseconds>(time));
    };
    console.now = [] { return std::chrono::steady_clock::time_point(simulator::now()); };
    console.library = DEVICE_LIBRARY;
    console.lockFolder = folder();
    result.code = static_cast<int>(cli::run(arguments, console));
    if (running != nullptr) {
      *running = nullptr;
    }
    return result;
  }

  /// The same for words separated by blanks.
  Result run(const char* arguments) { return run(QString(arguments).split(' ')); }

  QStringList answers;  ///< typed at the terminal
  QByteArray input;     ///< on standard input
  bool isTerminal = false;
  int columns = 80;               ///< of the terminal
  std::function<void()> onPause;  ///< called whenever the program waits
  std::function<void()> onHint;   ///< called for each text on standard error
};

/// How often an operation has been called.
inline int callsOf(const std::string& operation) {
  int count = 0;
  for (const simulator::JournalEntry& entry : simulator::journal()) {
    count += entry.operation == operation ? 1 : 0;
  }
  return count;
}
