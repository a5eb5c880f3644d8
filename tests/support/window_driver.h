#pragma once

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>

/// Drives the window as a user would, by object name. An unknown name ends the test
/// program.
class WindowDriver {
 public:
  /// @param window the window to drive; must outlive the driver
  explicit WindowDriver(const QWidget& window) : window_(&window) {}
  /// A driver without a window; using it ends the test program.
  WindowDriver() = default;

  /// Presses a button; works for buttons on hidden pages, too.
  void click(const QString& button) const { widget<QAbstractButton>(button).click(); }

  /// Text of a label.
  QString text(const QString& label) const { return widget<QLabel>(label).text(); }

  /// Text of the message line.
  QString message() const { return text("LB_Message"); }

  /// Chooses the row of a combo box with this text.
  void choose(const QString& comboBox, const QString& row) const { widget<QComboBox>(comboBox).setCurrentText(row); }

  /// The widget of that name and class.
  template <typename Widget>
  Widget& widget(const QString& name) const {
    auto* const found = window_ == nullptr ? nullptr : window_->findChild<Widget*>(name);
    if (found == nullptr) {
      qFatal("the window has no %s named %s", Widget::staticMetaObject.className(), qPrintable(name));
    }
    return *found;
  }

 private:
  const QWidget* window_ = nullptr;
};
