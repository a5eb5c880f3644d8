#pragma once

#include "tests/robustness/control_table.h"
#include "tests/robustness/fault_matrix/faults.h"
#include "tests/robustness/window_state.h"

namespace control_table {

/// What the table says of a run.
struct Expectation {
  WindowState state;
  QStringList operations;
  QStringList calls;  ///< with arguments, which hold for a run without a fault
};

/// Reads the table.
/// @param before the window's state
/// @param place  number of the call with the fault, from 0
/// @param called set to that call; left alone for one that cleans up after another
Expectation expect(const Control& control, const WindowState& before, int place = -1,
                   const fault_matrix::Fault& fault = {}, const Call** called = nullptr);

}  // namespace control_table
