#pragma once

#include "cli/command.h"

#include <QStringList>

#include <variant>

namespace cli {

/// A command line that asks for something to be done.
struct Invocation {
  const Command* command;  ///< the innermost one
  QString path;            ///< its names, for example "serial set"
  Arguments global;        ///< options of the program
  Arguments arguments;     ///< those of the command
};

/// Text to print, on request.
struct HelpText {
  QString text;
};

struct UsageError {
  QString message;
};

/// Reads a command line, the program's name left out.
/// @param program the program's options and its verbs; must outlive the result
std::variant<Invocation, HelpText, UsageError> parse(const Command& program, const QStringList& arguments);

}  // namespace cli
