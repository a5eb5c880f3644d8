#pragma once

#include "device/RTICE_SDK_x64.h"
#include "device/result.h"
#include "simulator/control/control.h"
#include "tests/support/journal.h"

#include <QTest>

#include <functional>
#include <limits>

/// A typed call, and the library call that it must make.
struct CallRow {
  QString libraryCall;                ///< as the simulated device's journal shows it: "operation(arguments)"
  std::function<std::int32_t()> run;  ///< makes the call; 0 when it succeeded, else its failure's status
};

/// The status of a call that returns a value.
template <typename Value>
std::int32_t statusOfCall(const device::Result<Value>& result) {
  return result ? 0 : result.error().status;
}

/// A new simulated device, in virtual time, with an open port and an empty journal.
inline void openNewDevice() {
  simulator::reset();
  simulator::useVirtualTime();
  QCOMPARE(initialize(), 0);
  QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
  QCOMPARE(openPort(), 0);
  simulator::clearJournal();
}

/// Runs the call once, and once more for each failure status: it must make exactly that
/// library call and pass the status on.
inline void checkCall(const CallRow& row) {
  openNewDevice();
  QCOMPARE(row.run(), 0);
  QCOMPARE(journalCalls(), QStringList(row.libraryCall));

  const std::string operation = row.libraryCall.section('(', 0, 0).toStdString();
  for (const std::int32_t status : {-1, -110, std::numeric_limits<std::int32_t>::min() + 1}) {
    openNewDevice();
    simulator::failCall(operation, 1, status);
    QCOMPARE(row.run(), status);
    QCOMPARE(journalCalls(), QStringList(row.libraryCall));
  }
}
