#include "app/plain_labels.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLabel>

PlainLabels::PlainLabels(QObject* parent) : QObject(parent) { QCoreApplication::instance()->installEventFilter(this); }

bool PlainLabels::eventFilter(QObject* watched, QEvent* event) {
  // Labels are polished before anything asks for their size or paints them.
  if (event->type() == QEvent::Polish) {
    if (auto* const label = qobject_cast<QLabel*>(watched)) {
      label->setTextFormat(Qt::PlainText);
    }
  }
  return QObject::eventFilter(watched, event);
}
