#pragma once

#include <QDir>
#include <QString>
#include <QWidget>

#include <functional>

/// A user at the screen: operates the window with mouse and keyboard, reads
/// what it shows, takes pictures and keeps a log.
class Operator {
 public:
  /// @param window   the window to work, already shown; must outlive this
  /// @param pictures where the pictures go; exists
  Operator(QWidget& window, const QDir& pictures);

  void click(const QString& widget);
  void chooseRow(const QString& comboBox, const QString& row);
  void openTab(const QString& caption);
  /// Clicks a button that opens a file dialog, and names a file there.
  void chooseFile(const QString& button, const QString& path);

  // On the pages without a tab, where neither mouse nor keyboard reach.
  void press(const QString& button);
  void pressAndChooseFile(const QString& button, const QString& path);
  void enter(const QString& field, const QString& text);

  /// Waits up to ten seconds for a label or input field to show `text`; if it
  /// does not, the walk-through has failed.
  void expectText(const QString& widget, const QString& text);
  /// As `expectText`, for any text but `text`.
  void expectOtherThan(const QString& widget, const QString& text);
  /// As `expectText`, for a text that a regular expression describes.
  void expectMatch(const QString& widget, const QString& pattern);
  /// Waits as long as an operator would.
  void waitMilliseconds(int milliseconds);
  /// Hands the next message box over, then closes it with its button. To be
  /// called before what opens the box.
  void lookAtMessageBox(std::function<void(QWidget&)> look);
  /// Records a check of something else.
  void expect(const QString& what, const QString& seen, const QString& expected);

  /// Prints the text of a label or input field, whatever it is.
  void note(const QString& widget) const;
  QString textOf(const QString& widget) const;

  QWidget& window() const { return window_; }

  /// Saves the window as it stands on the screen, as "<number>-<name>.png".
  void takePicture(const QString& name);

  /// False when anything expected did not appear.
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
