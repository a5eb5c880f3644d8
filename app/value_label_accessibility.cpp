#include "app/value_label_accessibility.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QLabel>

#include <algorithm>

namespace {

// The caption without the colon and the blanks around it.
QString captionName(const QLabel& caption) {
  QString name = caption.text().trimmed();
  if (name.endsWith(QLatin1Char(':'))) {
    name.chop(1);
  }
  return name.trimmed();
}

class ValueLabel : public QAccessibleWidget, public QAccessibleTextInterface {
 public:
  explicit ValueLabel(QLabel* label) : QAccessibleWidget(label, QAccessible::StaticText) {}

  QString text(QAccessible::Text kind) const override {
    return kind == QAccessible::Value ? shown() : QAccessibleWidget::text(kind);
  }

  // Not by QLabel's buddy: with one, a caption would take "&" for a key's mark.
  QVector<QPair<QAccessibleInterface*, QAccessible::Relation>> relations(QAccessible::Relation match) const override {
    QVector<QPair<QAccessibleInterface*, QAccessible::Relation>> found = QAccessibleWidget::relations(match);
    const auto siblings = widget()->parentWidget()->findChildren<QLabel*>(QString(), Qt::FindDirectChildrenOnly);
    for (QLabel* const sibling : siblings) {
      if (match.testFlag(QAccessible::Label) && sibling != widget() &&
          captionName(*sibling) == widget()->accessibleName()) {
        found.append({QAccessible::queryAccessibleInterface(sibling), QAccessible::Label});
      }
    }
    return found;
  }

  void* interface_cast(QAccessible::InterfaceType type) override {
    return type == QAccessible::TextInterface ? static_cast<QAccessibleTextInterface*>(this)
                                              : QAccessibleWidget::interface_cast(type);
  }

  QString text(int start, int end) const override {
    const int first = std::clamp(start, 0, characterCount());
    return shown().mid(first, std::max(0, end - first));
  }
  int characterCount() const override { return shown().size(); }
  QRect characterRect(int /*offset*/) const override { return rect(); }
  int offsetAtPoint(const QPoint& point) const override { return rect().contains(point) ? 0 : -1; }

  // There is nothing to select and no cursor.
  void selection(int /*index*/, int* start, int* end) const override { *start = *end = 0; }
  int selectionCount() const override { return 0; }
  void addSelection(int /*start*/, int /*end*/) override {}
  void removeSelection(int /*index*/) override {}
  void setSelection(int /*index*/, int /*start*/, int /*end*/) override {}
  int cursorPosition() const override { return 0; }
  void setCursorPosition(int /*position*/) override {}
  void scrollToSubstring(int /*start*/, int /*end*/) override {}
  QString attributes(int offset, int* start, int* end) const override {
    *start = *end = offset;
    return {};
  }

 private:
  QString shown() const {
    const auto* const label = qobject_cast<const QLabel*>(widget());
    return label != nullptr ? label->text() : QString();
  }
};

QAccessibleInterface* makeValueLabel(const QString& /*className*/, QObject* object) {
  auto* const label = qobject_cast<QLabel*>(object);
  return label != nullptr && !label->accessibleName().isEmpty() ? new ValueLabel(label) : nullptr;
}

}  // namespace

void describeValueLabels() { QAccessible::installFactory(&makeValueLabel); }
