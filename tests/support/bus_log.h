#pragma once

#include "simulator/control/control.h"

#include <QStringList>

#include <chrono>
#include <mutex>

/// Log of library calls and pauses in order, as "operation(arguments)" or "pause(50)".
/// For virtual time; thread-safe.
class BusLog {
 public:
  /// Logs a pause and advances the device's clock.
  void pause(std::chrono::milliseconds time) {
    const std::lock_guard lock(mutex_);
    takeCalls();
    log_ << QStringLiteral("pause(%1)").arg(time.count());
    simulator::advanceTime(time);
  }

  /// Returns the log so far and clears it.
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
