#include "tests/support/window_controls.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QLineEdit>
#include <QMenuBar>
#include <QTabBar>

namespace {

template <typename... Classes>
bool isOneOf(const QWidget& widget) {
  return ((qobject_cast<const Classes*>(&widget) != nullptr) || ...);
}

}  // namespace

bool isControl(const QWidget& widget) {
  for (const QWidget* parent = widget.parentWidget(); parent != nullptr; parent = parent->parentWidget()) {
    if (isOneOf<QComboBox, QAbstractSpinBox, QTabBar, QMenuBar>(*parent)) {
      return false;
    }
  }
  return isOneOf<QAbstractButton, QComboBox, QAbstractSlider, QAbstractSpinBox, QLineEdit, QTabBar>(widget);
}
