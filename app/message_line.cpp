#include "app/message_line.h"

#include <QLabel>

MessageLine::MessageLine(QLabel* label) : label_(label) {}

void MessageLine::post(const QString& text) {
  // Held while posting: the label cannot die between the test and the call.
  const std::lock_guard lock(mutex_);
  if (label_ == nullptr) {
    return;
  }
  QMetaObject::invokeMethod(label_, "setText", Qt::QueuedConnection, Q_ARG(QString, text));
}

void MessageLine::detach() {
  const std::lock_guard lock(mutex_);
  label_ = nullptr;
}
