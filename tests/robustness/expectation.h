#pragma once

#include "tests/robustness/control_table.h"
#include "tests/robustness/fault_matrix/faults.h"
#include "tests/robustness/window_state.h"

namespace control_table {

/// What the table expects from a run.
struct Expectation {
  WindowState state;
  QStringList operations;
  QStringList calls;  ///< with arguments, valid for a run without a fault
};

/// Derives the expectation for a run from the table.
/// @param before state of the window before the run
/// @param place  index of the call with the fault; -1 for none
/// @param called if given, set to that call; unchanged for a clean-up call
Expectation expect(const Control& control, const WindowState& before, int place = -1,
                   const fault_matrix::Fault& fault = {}, const Call** called = nullptr);

}  // namespace control_table
