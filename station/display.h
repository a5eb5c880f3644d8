#pragma once

#include "station/ledger.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

namespace station {

/// What people at the line see and hear. At a terminal: big letters, colours, a bell
/// and a line that is redrawn; else one plain line for each thing that happens, to
/// be read in a log.
class Display {
 public:
  struct Kind {
    bool isTerminal = false;
    bool usesColour = false;
    bool isQuiet = false;  ///< verdicts, warnings and questions only
  };
  /// @param write gets UTF-8
  Display(std::function<void(const QByteArray&)> write, Kind kind) : write_(std::move(write)), kind_(kind) {}

  /// One line.
  void say(const QString& line);
  /// A line that also a quiet display shows.
  void warn(const QString& line);
  /// How far a long step is; shown at a terminal only.
  void progress(const QString& what, int percent);
  /// The outcome of a unit.
  /// @param sentence what to do with it
  void verdict(UnitResult result, const QString& unit, const QString& reason, const QString& sentence);
  /// Asks for a line to be typed or scanned.
  void ask(const QString& question);

 private:
  void endProgress();
  void writeLine(const QString& text);

  std::function<void(const QByteArray&)> write_;
  Kind kind_;
  int shown_ = -1;  // percent in the line that is redrawn
};

/// A word in letters of 12 columns and 14 lines, made of full blocks and blanks.
/// Knows the letters of the results; anything else is a blank.
QStringList bigLetters(const QString& word);

}  // namespace station
