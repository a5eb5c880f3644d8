#pragma once

#include "simulator/control/control.h"

#include <QStringList>

/// The calls that the simulated device has seen, as "operation(arguments)".
inline QStringList journalCalls() {
  QStringList calls;
  for (const simulator::JournalEntry& entry : simulator::journal()) {
    calls << QString::fromStdString(entry.operation + "(" + entry.arguments + ")");
  }
  return calls;
}

/// The names of the operations that the simulated device has seen.
inline QStringList journalOperations() {
  QStringList operations;
  for (const simulator::JournalEntry& entry : simulator::journal()) {
    operations << QString::fromStdString(entry.operation);
  }
  return operations;
}
