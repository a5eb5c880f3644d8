#include "tests/robustness/window_state.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QStatusBar>
#include <QTabWidget>

namespace {

// A widget's state; null if it has none.
QString stateOf(const QWidget& widget) {
  if (const auto* const label = qobject_cast<const QLabel*>(&widget)) {
    return label->text();
  }
  if (const auto* const field = qobject_cast<const QLineEdit*>(&widget)) {
    return field->text();
  }
  if (const auto* const list = qobject_cast<const QComboBox*>(&widget)) {
    return list->currentText();
  }
  if (const auto* const slider = qobject_cast<const QSlider*>(&widget)) {
    return QString::number(slider->value());
  }
  if (const auto* const box = qobject_cast<const QSpinBox*>(&widget)) {
    return QString::number(box->value());
  }
  if (const auto* const tabs = qobject_cast<const QTabWidget*>(&widget)) {
    return QStringLiteral("page %1 of %2").arg(tabs->currentIndex()).arg(tabs->count());
  }
  if (const auto* const bar = qobject_cast<const QStatusBar*>(&widget)) {
    return bar->currentMessage();
  }
  if (const auto* const button = qobject_cast<const QAbstractButton*>(&widget)) {
    return button->isCheckable() ? QString::fromLatin1(button->isChecked() ? "on" : "off") : button->text();
  }
  return {};
}

}  // namespace

WindowState takeState(const QWidget& window) {
  WindowState all{{"window title", window.windowTitle()}};
  for (const QWidget* const widget : window.findChildren<QWidget*>()) {
    const QString name = widget->objectName();
    if (name.isEmpty() || name.startsWith(QLatin1String("qt_"))) {
      continue;  // internal part of another widget
    }
    const QString state = stateOf(*widget);
    all[name] = widget->isEnabledTo(&window) ? state : state + QLatin1String(" (disabled)");
  }
  return all;
}

void setState(QWidget& widget, const QString& state) {
  const QSignalBlocker quiet(widget);
  if (auto* const label = qobject_cast<QLabel*>(&widget)) {
    if (label->text() != state) {
      label->setText(state);  // would remove a picture
    }
  } else if (auto* const field = qobject_cast<QLineEdit*>(&widget)) {
    field->setText(state);
  } else if (auto* const list = qobject_cast<QComboBox*>(&widget)) {
    list->setCurrentIndex(list->findText(state));
  } else if (auto* const slider = qobject_cast<QSlider*>(&widget)) {
    slider->setValue(state.toInt());
  } else if (auto* const box = qobject_cast<QSpinBox*>(&widget)) {
    box->setValue(state.toInt());
  } else if (auto* const button = qobject_cast<QAbstractButton*>(&widget); button && button->isCheckable()) {
    const bool exclusive = button->autoExclusive();
    button->setAutoExclusive(false);  // so that all buttons of a group can be off
    button->setChecked(state == QLatin1String("on"));
    button->setAutoExclusive(exclusive);
  }
}

QString differences(const WindowState& seen, const WindowState& expected) {
  QStringList lines;
  QStringList names = seen.keys() + expected.keys();
  names.removeDuplicates();
  for (const QString& name : names) {
    if (seen.value(name) != expected.value(name)) {
      lines << QStringLiteral("%1 is \"%2\" instead of \"%3\"").arg(name, seen.value(name), expected.value(name));
    }
  }
  return lines.join(QLatin1String("; "));
}
