#pragma once

#include <QEvent>
#include <QLabel>
#include <QObject>
#include <QStringList>

/// Records every text that a worker shows in a label, in order, including texts that
/// are never painted.
class PostedTexts : public QObject {
 public:
  /// @param label must outlive this
  explicit PostedTexts(QLabel& label) : label_(label) { label.installEventFilter(this); }

  const QStringList& texts() const { return texts_; }
  void clear() { texts_.clear(); }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() != QEvent::MetaCall) {
      return false;
    }
    // Deliver the event now, to read the text before the next one arrives.
    watched->event(event);
    texts_ << label_.text();
    return true;
  }

 private:
  QLabel& label_;
  QStringList texts_;
};
