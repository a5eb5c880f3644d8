#pragma once

#include <QDir>
#include <QString>
#include <QWidget>

#include <functional>

/// A user at the screen: operates the window with mouse and keyboard, reads it, takes
/// pictures and keeps a log.
class Operator {
 public:
  /// @param window   the window to operate, already shown; must outlive this
  /// @param pictures folder for the pictures; must exist
  Operator(QWidget& window, const QDir& pictures);

  void click(const QString& widget);
  void chooseRow(const QString& comboBox, const QString& row);
  void openTab(const QString& caption);
  /// Clicks a button that opens a file dialog, and chooses a file there.
  void chooseFile(const QString& button, const QString& path);

  // For the pages without a tab, which neither mouse nor keyboard can reach.
  void press(const QString& button);
  void pressAndChooseFile(const QString& button, const QString& path);
  void enter(const QString& field, const QString& text);

  /// Waits up to ten seconds for a label or input field to show `text`; if it
  /// does not, the walk-through has failed.
  void expectText(const QString& widget, const QString& text);
  /// Like `expectText`, for any text but `text`.
  void expectOtherThan(const QString& widget, const QString& text);
  /// Like `expectText`, for a text that matches a regular expression.
  void expectMatch(const QString& widget, const QString& pattern);
  /// Waits as long as an operator would.
  void waitMilliseconds(int milliseconds);
  /// Passes the next message box to `look`, then closes it with its button. Call this
  /// before the action that opens the box.
  void lookAtMessageBox(std::function<void(QWidget&)> look);
  /// Records a check of something else.
  void expect(const QString& what, const QString& seen, const QString& expected);

  /// Prints the text of a label or input field, whatever it is.
  void note(const QString& widget) const;
  QString textOf(const QString& widget) const;

  QWidget& window() const { return window_; }

  /// Saves a picture of the window on the screen as "<number>-<name>.png".
  void takePicture(const QString& name);

  /// False if anything expected did not appear.
  bool sawEverything() const { return failures_ == 0; }

 private:
  void answerFileDialog(const QString& path);
  QWidget& find(const QString& name) const;
  void record(const QString& what, const QString& seen, const QString& expected, bool good);

  QWidget& window_;
  QDir pictures_;
  int pictureCount_ = 0;
  int failures_ = 0;
};
