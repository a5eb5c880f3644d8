#include "walkthrough/operator.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include <cstdio>
#include <utility>

namespace {

constexpr int kPatienceMs = 10'000;

// Clicks through the window system's event queue, so that the widget under the mouse gets
// the click, as on a real screen; a covered one does not.
void clickAt(const QWidget& widget, const QPoint& position) {
  const QWidget& top = *widget.window();
  QTest::mouseClick(top.windowHandle(), Qt::LeftButton, {}, widget.mapTo(&top, position));
}

}  // namespace

Operator::Operator(QWidget& window, const QDir& pictures) : window_(window), pictures_(pictures) {}

void Operator::click(const QString& widget) {
  const QWidget& target = find(widget);
  clickAt(target, target.rect().center());
}

void Operator::chooseRow(const QString& comboBox, const QString& row) {
  auto& box = dynamic_cast<QComboBox&>(find(comboBox));
  click(comboBox);
  QAbstractItemView& list = *box.view();
  if (!QTest::qWaitForWindowExposed(list.window(), kPatienceMs)) {
    record(comboBox, QStringLiteral("list stayed closed"), QStringLiteral("list open"), false);
    return;
  }
  // By keyboard, so that the list's position on the screen does not matter.
  const int wanted = box.findText(row);
  for (int steps = 0; steps < box.count() && list.currentIndex().row() != wanted; ++steps) {
    QTest::keyClick(list.window()->windowHandle(), list.currentIndex().row() < wanted ? Qt::Key_Down : Qt::Key_Up);
  }
  QTest::keyClick(list.window()->windowHandle(), Qt::Key_Return);
  if (!QTest::qWaitFor([&] { return box.currentText() == row && !list.isVisible(); }, kPatienceMs)) {
    record(comboBox, box.currentText(), row, false);
  }
}

void Operator::openTab(const QString& caption) {
  const auto& tabs = dynamic_cast<QTabWidget&>(find(QStringLiteral("tabWidget")));
  for (int i = 0; i < tabs.count(); ++i) {
    if (tabs.tabText(i) == caption) {
      clickAt(*tabs.tabBar(), tabs.tabBar()->tabRect(i).center());
      expect(QStringLiteral("tab"), tabs.tabText(tabs.currentIndex()), caption);
      return;
    }
  }
  record(QStringLiteral("tab"), QStringLiteral("none of that name"), caption, false);
}

void Operator::chooseFile(const QString& button, const QString& path) {
  answerFileDialog(path);
  click(button);
}

void Operator::press(const QString& button) { dynamic_cast<QAbstractButton&>(find(button)).click(); }

void Operator::pressAndChooseFile(const QString& button, const QString& path) {
  answerFileDialog(path);
  press(button);
}

void Operator::enter(const QString& field, const QString& text) { dynamic_cast<QLineEdit&>(find(field)).setText(text); }

// Prepares the answer beforehand, as the dialog's event loop runs inside the click that
// opens it.
void Operator::answerFileDialog(const QString& path) {
  QTimer::singleShot(50, &window_, [this, path] {
    auto* const dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr) {
      answerFileDialog(path);
      return;
    }
    dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
    dialog->findChild<QDialogButtonBox*>(QStringLiteral("buttonBox"))->button(QDialogButtonBox::Open)->click();
  });
}

void Operator::expectText(const QString& widget, const QString& text) {
  const bool good = QTest::qWaitFor([&] { return textOf(widget) == text; }, kPatienceMs);
  record(widget, textOf(widget), text, good);
}

void Operator::expectOtherThan(const QString& widget, const QString& text) {
  const bool good = QTest::qWaitFor([&] { return textOf(widget) != text; }, kPatienceMs);
  record(widget, textOf(widget), QStringLiteral("not ") + text, good);
}

void Operator::expectMatch(const QString& widget, const QString& pattern) {
  const QRegularExpression expression(QRegularExpression::anchoredPattern(pattern));
  const bool good = QTest::qWaitFor([&] { return expression.match(textOf(widget)).hasMatch(); }, kPatienceMs);
  record(widget, textOf(widget), pattern, good);
}

void Operator::lookAtMessageBox(std::function<void(QWidget&)> look) {
  QTimer::singleShot(50, &window_, [this, look = std::move(look)]() mutable {
    auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (box == nullptr) {
      lookAtMessageBox(std::move(look));
      return;
    }
    look(*box);
    box->button(QMessageBox::Ok)->click();
  });
}

void Operator::waitMilliseconds(int milliseconds) { QTest::qWait(milliseconds); }

void Operator::expect(const QString& what, const QString& seen, const QString& expected) {
  record(what, seen, expected, seen == expected);
}

void Operator::note(const QString& widget) const {
  std::printf("  shows %-18s %s\n", qPrintable(widget), qPrintable(textOf(widget)));
  std::fflush(stdout);
}

void Operator::takePicture(const QString& name) {
  // Let the window paint the result of the click first.
  QTest::qWait(50);
  QPixmap picture = window_.windowHandle()->screen()->grabWindow(window_.winId());
  if (picture.isNull()) {
    picture = window_.grab();  // the platform has no screen to look at
  }
  const QString path = pictures_.filePath(QStringLiteral("%1-%2.png").arg(++pictureCount_).arg(name));
  if (!picture.save(path)) {
    record(QStringLiteral("picture"), QStringLiteral("cannot be saved"), path, false);
    return;
  }
  std::printf("picture %s\n", qPrintable(QDir::toNativeSeparators(path)));
}

QWidget& Operator::find(const QString& name) const {
  auto* const widget = window_.findChild<QWidget*>(name);
  if (widget == nullptr) {
    qFatal("the window has no widget named %s", qPrintable(name));
  }
  return *widget;
}

QString Operator::textOf(const QString& widget) const {
  const QWidget& target = find(widget);
  if (const auto* const label = qobject_cast<const QLabel*>(&target)) {
    return label->text();
  }
  return dynamic_cast<const QLineEdit&>(target).text();
}

void Operator::record(const QString& what, const QString& seen, const QString& expected, bool good) {
  if (good) {
    std::printf("  ok    %-18s %s\n", qPrintable(what), qPrintable(seen));
  } else {
    ++failures_;
    std::printf("  WRONG %-18s %s (expected %s)\n", qPrintable(what), qPrintable(seen), qPrintable(expected));
  }
  std::fflush(stdout);
}
