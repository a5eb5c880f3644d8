#pragma once

#include "simulator/control/control.h"

#include <QStringList>

#include <chrono>
#include <mutex>

/// Calls of the device library and pauses in the order in which they happened,
/// in virtual time: "operation(arguments)" or "pause(50)". Any thread.
class BusLog {
 public:
  /// Notes a pause and moves the device's clock by it.
  void pause(std::chrono::milliseconds time) {
    const std::lock_guard lock(mutex_);
    takeCalls();
    log_ << QStringLiteral("pause(%1)").arg(time.count());
    simulator::advanceTime(time);
  }

  /// All up to now.
  QStringList take() {
    const std::lock_guard lock(mutex_);
    takeCalls();
    return std::exchange(log_, {});
  }

 private:
  void takeCalls() {
    for (const simulator::JournalEntry& entry : simulator::journal()) {
      log_ << QString::fromStdString(entry.operation + "(" + entry.arguments + ")");
    }
    simulator::clearJournal();
  }

  std::mutex mutex_;
  QStringList log_;
};
