#pragma once

#include "tests/robustness/control_table.h"
#include "tests/robustness/window_state.h"
#include "tests/support/posted_texts.h"
#include "tests/support/window_fixture.h"

#include <chrono>

namespace control_table {

/// Throws std::runtime_error with the complaint unless something holds.
void require(bool holds, const QString& complaint);

/// What came of something the operator did; the folder of the files as "DIR".
struct Outcome {
  WindowState state;
  QStringList operations;
  QStringList calls;    ///< with arguments
  QStringList results;  ///< with arguments and status
  QVector<std::chrono::nanoseconds> durations;
};

/// A window that does what the control table's operator does, with the files
/// that the table names.
class ControlFixture : public WindowFixture {
 public:
  explicit ControlFixture(bool connected);

  /// The text with the folder of the files in place of "DIR".
  QString inFolder(QString text) const { return text.replace("DIR", files().folder()); }

  /// A new device, in the session that the window believes to be in.
  void renewDevice(const QByteArray& scenario) const;

  /// Puts the widgets that a state names into it, and removes the file that
  /// controls save.
  void restore(const WindowState& state) const;

  WindowState state() const;

  /// Does what the operator does and sees what comes of it. Throws when a call
  /// is made on the wrong thread, or the window asks for what it must not.
  Outcome act(const QVector<Action>& actions);

  /// Texts that workers posted in the last `act`.
  const QStringList& texts() const { return texts_.texts(); }

 private:
  void act(const Action& action) const;
  void runWorker(const char* button) const;
  void chooseOneFile(const char* button, const QString& path) const;

  PostedTexts texts_;
  bool connected_;
};

/// States as a map from widget to state.
void apply(const States& states, WindowState& state);

}  // namespace control_table
