#pragma once

#include "tests/robustness/control_table.h"
#include "tests/robustness/window_state.h"
#include "tests/support/posted_texts.h"
#include "tests/support/window_fixture.h"

#include <chrono>

namespace control_table {

/// Throws std::runtime_error with this message unless the condition holds.
void require(bool holds, const QString& complaint);

/// Outcome of an operator's actions, with "DIR" for the files' folder.
struct Outcome {
  WindowState state;
  QStringList operations;
  QStringList calls;    ///< with arguments
  QStringList results;  ///< with arguments and status
  QVector<std::chrono::nanoseconds> durations;
};

/// A window to carry out the control table's actions in, with the files that the
/// table names.
class ControlFixture : public WindowFixture {
 public:
  explicit ControlFixture(bool connected);

  /// The text with "DIR" replaced by the files' folder.
  QString inFolder(QString text) const { return text.replace("DIR", files().folder()); }

  /// Replaces the device and opens the session that the window believes is open.
  void renewDevice(const QByteArray& scenario) const;

  /// Restores the named widgets and removes the saved file.
  void restore(const WindowState& state) const;

  WindowState state() const;

  /// Carries out the actions and records their effects. Throws if a call is made on
  /// the wrong thread or an unexpected dialog opens.
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

/// Overwrites the states of the named widgets.
void apply(const States& states, WindowState& state);

}  // namespace control_table
