#pragma once

#include <QString>

#include <mutex>

class QLabel;

/// The way for a worker thread to show a text in the window's message line.
///
/// Shared between the window and its workers: a worker may outlive the window,
/// and then posts into nothing.
class MessageLine {
 public:
  /// @param label the message line's label; must live until `detach`
  explicit MessageLine(QLabel* label);

  /// Shows `text` on the GUI thread, after all texts posted before it. Any
  /// thread; returns at once.
  void post(const QString& text);

  /// Ends the showing: later texts, and those still on their way, are dropped.
  /// GUI thread, before the label dies.
  void detach();

 private:
  std::mutex mutex_;
  QLabel* label_;
};
