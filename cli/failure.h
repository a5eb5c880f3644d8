#pragma once

#include "cli/exit_code.h"
#include "cli/value.h"

#include <QString>

#include <exception>
#include <utility>

namespace cli {

/// Ends the running command; thrown by code that cannot continue.
/// The device session closes on the way out.
struct Failure : std::exception {
  Failure(ExitCode exitCode, QString text) : code(exitCode), message(std::move(text)) {}

  ExitCode code;
  QString message;     ///< one line, without a full stop
  QString check = {};  ///< of kRefused: the name that --force takes; empty when nothing lifts it
  QString next = {};   ///< the command that leads on, if there is one
  Value details = {};  ///< an object with what else is known, for JSON

  const char* what() const noexcept override { return "the command ended"; }
};

}  // namespace cli
