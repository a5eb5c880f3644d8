#pragma once

#include <QEvent>
#include <QLabel>
#include <QObject>
#include <QStringList>

/// Keeps every text that a worker has shown in a label, in order, also those
/// that were never painted.
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
    // Delivered here, so that the text can be read before the next one comes.
    watched->event(event);
    texts_ << label_.text();
    return true;
  }

 private:
  QLabel& label_;
  QStringList texts_;
};
