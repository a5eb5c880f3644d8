#pragma once

#include <QString>

#include <mutex>

class QLabel;

/// Posts texts from a worker to the message line. May outlive the window; posts
/// are then discarded.
class MessageLine {
 public:
  /// @param label the message line's label; must live until `detach`
  explicit MessageLine(QLabel* label);

  /// Shows `text` on the GUI thread, after all texts posted before it. Any
  /// thread; returns at once.
  void post(const QString& text);

  /// Stops updates: later texts, and those still on their way, are dropped.
  /// GUI thread, before the label dies.
  void detach();

 private:
  std::mutex mutex_;
  QLabel* label_;
};
