#pragma once

#include "tests/robustness/control_fixture.h"
#include "tests/robustness/expectation.h"
#include "tests/robustness/fault_matrix/faults.h"

#include <memory>

namespace fault_matrix {

using control_table::Control;
using control_table::ControlFixture;
using control_table::Outcome;

/// A control's runs, which share a window as long as all goes well.
class ControlRuns {
 public:
  explicit ControlRuns(Control control);

  const Control& control() const { return control_; }
  /// The calls of a run without a fault: the places of faults.
  const QStringList& operations() const { return healthy_.operations; }

  /// The table's row for a place; null for a call that cleans up after another.
  const Call* callAt(int place) const;

  /// Throws when the table says otherwise of a run without a fault.
  void checkHealthy() const;

  /// Runs with a fault at a place, then without, and throws at a breach.
  void run(int place, const Fault& fault);

 private:
  bool isSession() const;
  void makeFixture();
  void renew() const;
  /// What each run starts from, beside the session.
  void arrange() const;
  /// The window does not send what it sets itself on a read; a fault there must
  /// not make it keep what the operator sets next. Leaves the device as it was.
  void requireNothingSwallowed() const;
  /// Brings the window back to the session that the control starts from.
  void reconnect() const;

  bool needsFreshWindow_ = false;  // a breach may leave the window in any state
  Control control_;
  std::unique_ptr<ControlFixture> fixture_;
  WindowState before_;
  Outcome healthy_;
};

}  // namespace fault_matrix
