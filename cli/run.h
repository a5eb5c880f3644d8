#pragma once

#include "cli/checks.h"
#include "cli/console.h"
#include "cli/document.h"
#include "cli/exit_code.h"
#include "cli/globals.h"
#include "device/result.h"

#include <QString>

namespace cli {

/// What --force makes of any change must be confirmed with this word.
inline constexpr const char* kForceWord = "force";

/// How hard a change is to undo, which decides what must be confirmed.
enum class Weight {
  kHarmless,      ///< nothing is asked
  kLasting,       ///< [y/N], or -y
  kIrreversible,  ///< or raw: a word is asked for, or --confirm=WORD; -y is not enough
};

/// One command under way: what its verb may ask of the program.
class Run {
 public:
  /// Both arguments must outlive the run.
  Run(const Globals& globals, const Console& console) : globals_(globals), console_(console) {}

  const Globals& options() const { return globals_; }
  const Console& console() const { return console_; }

  /// Prints the result. When a value of it could not be read, the program will
  /// end with `kFailed`.
  void finish(const Document& document);
  /// Prints one JSON text in a line, for results that come one after the other.
  void printLine(const QByteArray& line);
  /// Writes raw bytes to standard output.
  void writeData(const QByteArray& bytes);
  /// Tells the user something that is no result.
  void hint(const QString& text);

  /// Refuses the input unless a check holds or is lifted.
  /// @throws Failure (refused)
  void require(const Check& check, bool holds, const QString& message);
  /// Asks whether to continue, as the weight demands. Nothing is asked without a
  /// terminal.
  /// @param word what an irreversible change asks for, for example "key"
  /// @throws Failure (unconfirmed)
  void confirm(Weight weight, const QString& question, const QString& word);
  /// @throws Failure (interrupted) after Ctrl-C; for places where nothing has
  /// been written yet
  void stopIfInterrupted() const;

  ExitCode exitCode() const { return exitCode_; }
  /// For a result that is whole and yet no success.
  void setExitCode(ExitCode code) { exitCode_ = code; }

 private:
  void confirmWord(const QString& question, const QString& word);

  const Globals& globals_;
  const Console& console_;
  ExitCode exitCode_ = ExitCode::kDone;
  bool isForced_ = false;
};

/// Why a call brought nothing, for people.
QString reasonOf(const device::Failure& failure);

}  // namespace cli
