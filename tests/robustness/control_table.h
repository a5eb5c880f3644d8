#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

/// The list of the window's controls: for each, the operator's actions, the resulting
/// library calls, and how the window changes when each call succeeds or fails. Data
/// only: every_control_test operates each control once, the fault matrix once per fault.
namespace control_table {

/// A widget and its state in the notation of `WindowState`: a text, "on" or "off", a
/// number, the selected row's text. kSavedFile is the file that a control writes, "DIR"
/// the folder of the test's files.
struct State {
  const char* widget;
  QString state;
};
using States = QVector<State>;

inline constexpr char kSavedFile[] = "(saved file)";

/// A widget's state after a successful call that wrote the device's own answer, only
/// bytes of 0xFF, or nothing. A null text means unchanged.
struct ExpectedState {
  const char* widget;
  QString device;
  QString ones;
  QString untouched;
};

enum class Then { kStops, kGoesOn };

/// A library call and its consequences. Widgets that are not named keep their state.
struct Call {
  const char* operation;
  /// In the journal's notation, for a newly opened window and the default device.
  QString arguments = {};
  /// If the call fails, that is, returns any status but 0 (unless it returns a length).
  Then then = Then::kStops;
  States failure = {};
  /// Call made after a failure; without arguments.
  const char* cleanUp = nullptr;
  /// If the call succeeds.
  QVector<ExpectedState> shown = {};
  /// Shown only after the next call has succeeded as well.
  bool shownWithNext = false;
  /// If this call fails while the device is plugged in, the library refuses the next one.
  bool nextIsRefused = false;
  /// Fails on a healthy device, too.
  bool failsAnyway = false;
  /// Answers after which the next call in the list is made.
  struct Answers {
    bool device = true;
    bool ones = true;
    bool untouched = true;
  } nextCallMadeAfter = {};
  /// The widget that shows the text read, and how many characters it shows of an
  /// unterminated text.
  const char* textWidget = nullptr;
  int longestText = 0;
  /// The result is the text's length; only a negative one is a failure.
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
  /// Distinguishes rows for the same control.
  QString variant = {};
  QVector<Action> actions;
  QVector<Call> calls = {};
  /// States to start from, in addition to those common to all rows.
  States given = {};
  /// Changes caused by the actions themselves, whatever the device does.
  States moved = {};
  bool connected = true;
  /// Operation whose next call fails in every run.
  const char* failsBefore = nullptr;
  /// Faults are covered by upgrade_table.h instead.
  bool isUpgrade = false;

  QString title() const {
    return variant.isEmpty() ? QString::fromLatin1(name) : QStringLiteral("%1, %2").arg(name, variant);
  }
};

/// All controls of the window, including those that make no calls.
QVector<Control> controls();

/// States, before a fault, of the widgets that show answers. Where possible they differ
/// from the device's answer and from every made-up answer. Each label has its own text.
extern const States kInitialState;

/// Content of the board's EEPROM from address 0x10 before a fault. GPIO pin 13 of
/// group 1 reads 42.
extern const QByteArray kRegister;

/// A device with non-zero values where the default device has zeros.
extern const char* const kScenario;

}  // namespace control_table
