#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

/// The one list of the window's controls: for each what an operator does with
/// it, the library calls that follow, and what a failure of each call and its
/// answers do to the window. Only data: every_control_test presses each control
/// once, the fault matrix once for each fault.
namespace control_table {

/// A widget and how it stands, as `WindowState` writes it: a text, "on" or
/// "off", a number, the chosen row's text. kSavedFile stands for the file that a
/// control writes. "DIR" is the folder of the test's files.
struct State {
  const char* widget;
  QString state;
};
using States = QVector<State>;

inline constexpr char kSavedFile[] = "(saved file)";

/// How a widget stands after a call that succeeded, by what the call wrote: the
/// device's own answer, only bytes of 0xFF, nothing. A null text: as before.
struct ExpectedState {
  const char* widget;
  QString device;
  QString ones;
  QString untouched;
};

enum class Then { kStops, kGoesOn };

/// A call of the library and what may come of it. Whatever is not named keeps
/// its state.
struct Call {
  const char* operation;
  /// As the journal shows them, for a window as it opens and the default device.
  QString arguments = {};
  /// The call fails: every status but 0, unless it returns a length.
  Then then = Then::kStops;
  States failure = {};
  /// A call made because of the failure, without arguments.
  const char* cleanUp = nullptr;
  /// The call succeeds.
  QVector<ExpectedState> shown = {};
  /// What is shown waits until the next call has succeeded, too.
  bool shownWithNext = false;
  /// A call that fails without a fault at the plug has left the library so that
  /// it refuses the next one.
  bool nextIsRefused = false;
  /// The device itself lets the call fail here.
  bool failsAnyway = false;
  /// After which answers the next call of the list is made.
  struct Answers {
    bool device = true;
    bool ones = true;
    bool untouched = true;
  } nextCallMadeAfter = {};
  /// The widget that shows the text read, and how many of the characters of a
  /// text without end.
  const char* textWidget = nullptr;
  int longestText = 0;
  /// The result is the text's length, and a failure only when it is negative.
  bool returnsLength = false;
};

/// What the operator does.
struct Action {
  enum class Kind { kClick, kChooseRow, kMove, kType, kSelectTab, kChooseFile, kRunWorker } kind;
  const char* widget;
  QString value = {};  ///< the row, number, text, page or file
};

struct Control {
  const char* name;
  /// Tells controls of the same name apart.
  QString variant = {};
  QVector<Action> actions;
  QVector<Call> calls = {};
  /// How widgets stand before, beyond the state that every control starts from.
  States given = {};
  /// What the actions themselves change, whatever the device does.
  States moved = {};
  bool connected = true;
  /// An operation whose next call fails in each run.
  const char* failsBefore = nullptr;
  /// How it goes on after a fault is told by upgrade_table.h.
  bool isUpgrade = false;

  QString title() const {
    return variant.isEmpty() ? QString::fromLatin1(name) : QStringLiteral("%1, %2").arg(name, variant);
  }
};

/// All controls of the window, also those from which no calls follow.
QVector<Control> controls();

/// How the widgets that the device's answers go to stand before a fault: other
/// than the device's answer, and than any answer made up here, wherever there is
/// room. Labels carry texts of their own.
extern const States kInitialState;

/// What register 0x10 of the board's EEPROM holds before a fault, up to the
/// largest read; pin 13 of group 1 reads 42.
extern const QByteArray kRegister;

/// A device that answers other than the default one where that is zero.
extern const char* const kScenario;

}  // namespace control_table
