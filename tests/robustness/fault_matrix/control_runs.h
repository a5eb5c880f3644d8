#pragma once

#include "tests/robustness/control_fixture.h"
#include "tests/robustness/expectation.h"
#include "tests/robustness/fault_matrix/faults.h"

#include <memory>

namespace fault_matrix {

using control_table::Control;
using control_table::ControlFixture;
using control_table::Outcome;

/// The runs of one control, which share a window until one fails.
class ControlRuns {
 public:
  explicit ControlRuns(Control control);

  const Control& control() const { return control_; }
  /// Calls of a run without a fault; faults are injected at these places.
  const QStringList& operations() const { return healthy_.operations; }

  /// The table's call at a place; null for a clean-up call.
  const Call* callAt(int place) const;

  /// Throws unless a run without a fault matches the table.
  void checkHealthy() const;

  /// Runs with a fault at a place, then without. Throws unless both match the table.
  void run(int place, const Fault& fault);

 private:
  bool isSession() const;
  void makeFixture();
  void renew() const;
  /// Sets up what each run starts from, apart from the session.
  void arrange() const;
  /// After a read, the window does not send the values back. A fault must not make it
  /// suppress the operator's next change as well. Leaves the device unchanged.
  void requireNothingSwallowed() const;
  /// Restores the session that the control starts from.
  void reconnect() const;

  bool needsFreshWindow_ = false;  // a breach may leave the window in any state
  Control control_;
  std::unique_ptr<ControlFixture> fixture_;
  WindowState before_;
  Outcome healthy_;
};

}  // namespace fault_matrix
