#include "tests/ui/form_looks.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFontMetrics>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QStyleOptionFrame>
#include <QTabWidget>

namespace {

// Space in front of a line edit's text.
constexpr int kLineEditMargin = 2;

// The room that a widget's style leaves for its text.
QSize roomForText(const QWidget& widget) {
  if (const auto* label = qobject_cast<const QLabel*>(&widget)) {
    return label->contentsRect().adjusted(qMax(0, label->indent()), 0, 0, 0).size();
  }
  const QStyle& style = *widget.style();
  if (qobject_cast<const QPushButton*>(&widget)) {
    QStyleOptionButton option;
    option.initFrom(&widget);
    return style.subElementRect(QStyle::SE_PushButtonContents, &option, &widget).size();
  }
  if (qobject_cast<const QRadioButton*>(&widget) || qobject_cast<const QCheckBox*>(&widget)) {
    QStyleOptionButton option;
    option.initFrom(&widget);
    const auto contents =
        qobject_cast<const QRadioButton*>(&widget) ? QStyle::SE_RadioButtonContents : QStyle::SE_CheckBoxContents;
    return style.subElementRect(contents, &option, &widget).size();
  }
  if (qobject_cast<const QComboBox*>(&widget)) {
    QStyleOptionComboBox option;
    option.initFrom(&widget);
    return style.subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, &widget).size();
  }
  if (const auto* spinBox = qobject_cast<const QSpinBox*>(&widget)) {
    return spinBox->findChild<QLineEdit*>()->contentsRect().adjusted(kLineEditMargin, 0, 0, 0).size();
  }
  if (qobject_cast<const QLineEdit*>(&widget)) {
    QStyleOptionFrame option;
    option.initFrom(&widget);
    option.lineWidth = style.pixelMetric(QStyle::PM_DefaultFrameWidth, &option, &widget);
    return style.subElementRect(QStyle::SE_LineEditContents, &option, &widget)
        .adjusted(kLineEditMargin, 0, 0, 0)
        .size();
  }
  return widget.size();
}

}  // namespace

QString captionOf(const QWidget& widget) {
  const QVariant title = widget.property("title");
  return title.isValid() ? title.toString() : widget.property("text").toString();
}

QStringList namesBelow(const QObject& parent) {
  QStringList names;
  // The current page was raised, which puts it last among its siblings.
  if (const auto* tabs = qobject_cast<const QTabWidget*>(&parent)) {
    for (int index = 0; index < tabs->count(); ++index) {
      names << tabs->widget(index)->objectName() << namesBelow(*tabs->widget(index));
    }
    return names;
  }
  for (const QObject* child : parent.children()) {
    if (!child->isWidgetType()) {
      continue;
    }
    const QString name = child->objectName();
    if (!name.isEmpty() && !name.startsWith(QLatin1String("qt_"))) {
      names << name;
    }
    names << namesBelow(*child);
  }
  return names;
}

QRect shownArea(const QWidget& widget) {
  const auto* label = qobject_cast<const QLabel*>(&widget);
  return label ? widget.geometry().adjusted(qMax(0, label->indent()), 0, 0, 0) : widget.geometry();
}

bool holds(const QWidget& widget, const QString& text) {
  const QFontMetrics metrics(widget.font());
  const QSize room = roomForText(widget);
  // Only the ink counts, not a trailing blank or the space above the letters. Every
  // style centres the line vertically.
  const int baseline = (room.height() - metrics.height()) / 2 + metrics.ascent();
  const QRect ink = metrics.tightBoundingRect(text).translated(0, baseline);
  return ink.right() < room.width() && ink.top() >= 0 && ink.bottom() < room.height();
}
