#include "cli/program.h"

#include "cli/failure.h"
#include "cli/parse.h"
#include "cli/run.h"
#include "cli/verb.h"
#include "cli/version.h"
#include "device/printable.h"

#include <QRegularExpression>

namespace cli {
namespace {

constexpr const char* kProgramName = "pellavox-cli";

void report(const Failure& failure, bool json, bool colour, const Console& console) {
  if (json) {
    Value error;
    error.set("schema", "pellavox-cli/error");
    error.set("version", 1);
    error.set("exitCode", static_cast<int>(failure.code));
    error.set("error", exitCodeName(failure.code));
    error.set("message", failure.message);
    error.set("check", failure.check.isEmpty() ? Value() : Value(failure.check));
    error.set("next", failure.next.isEmpty() ? Value() : Value(failure.next));
    error.set("details", failure.details);
    if (console.out(error.json() + '\n')) {
      return;
    }
  }
  QString line = failure.message;
  if (!failure.check.isEmpty()) {
    line += QStringLiteral("; --force=%1 lifts this check").arg(failure.check);
  }
  if (!failure.next.isEmpty()) {
    line += QStringLiteral("; next: %1").arg(failure.next);
  }
  const bool red = colour && console.usesColour && console.showsErrorsAtTerminal;
  console.err(QByteArray(red ? "\033[31m" : "") + kProgramName + ": " + device::printable(line).toUtf8() +
              (red ? "\033[0m" : "") + '\n');
}

/// Prints a text that asks for no device.
ExitCode say(const QByteArray& text, const Console& console) {
  if (console.out(text)) {
    return ExitCode::kDone;
  }
  report({ExitCode::kFailed, "cannot write to standard output"}, false, false, console);
  return ExitCode::kFailed;
}

/// Whether JSON is asked for by a command line that cannot be parsed. Short options may
/// be given together, behind others without a value.
bool asksForJson(const QStringList& arguments) {
  static const QRegularExpression together("^-[qvyn]*j");
  return arguments.contains("--json") || arguments.indexOf(together) >= 0;
}

ExitCode perform(const Invocation& invocation, const Globals& globals, const Console& console) {
  Run run(globals, console);
  if (!invocation.command->action) {
    throw Failure(ExitCode::kUsage, "say what to do; --help lists it");
  }
  invocation.command->action(run, invocation.arguments);
  return run.exitCode();
}

ExitCode perform(const Invocation& invocation, const Console& console) {
  const bool json = invocation.global.has("json");
  const bool colour = !invocation.global.has("no-color");
  try {
    return perform(invocation, readGlobals(invocation.global), console);
  } catch (const Failure& failure) {
    report(failure, json, colour, console);
    return failure.code;
  } catch (const std::exception& error) {
    report({ExitCode::kFailed, QString::fromLocal8Bit(error.what())}, json, colour, console);
    return ExitCode::kFailed;
  }
}

}  // namespace

const Command& program() {
  static const Command whole{kProgramName, "Reads, sets up and upgrades USB HDMI capture devices", globalOptions(),
                             verbs()};
  return whole;
}

ExitCode run(const QStringList& arguments, const Console& console) {
  // Before the parser, which would ask for a verb. What follows -- belongs to the
  // program that a verb starts.
  const QStringList own = arguments.mid(0, arguments.indexOf("--"));
  if (own.contains("--version")) {
    return say(QByteArray(kProgramName) + ' ' + kVersionText + '\n', console);
  }
  const auto parsed = parse(program(), arguments);
  if (const auto* help = std::get_if<HelpText>(&parsed)) {
    return say(help->text.toUtf8(), console);
  }
  if (const auto* error = std::get_if<UsageError>(&parsed)) {
    report({ExitCode::kUsage, error->message}, asksForJson(own), !own.contains("--no-color"), console);
    return ExitCode::kUsage;
  }
  return perform(std::get<Invocation>(parsed), console);
}

}  // namespace cli
