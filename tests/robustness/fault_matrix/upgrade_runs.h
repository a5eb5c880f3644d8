#pragma once

#include "tests/robustness/control_fixture.h"
#include "tests/robustness/fault_matrix/faults.h"
#include "tests/robustness/fault_matrix/upgrade_table.h"

#include <memory>

namespace fault_matrix {

/// Runs of the external MCU upgrade, which share a window until one fails.
class UpgradeRuns {
 public:
  UpgradeRuns(const char* button, bool inApplication);

  const char* button() const { return button_; }
  bool inApplication() const { return inApplication_; }
  int places() const { return calls_.size(); }
  QString operation(int place) const { return calls_[place].section('(', 0, 0); }

  static QVector<Fault> faultsOf(const QString& operation);

  /// Runs with a fault at a place, then without. Throws unless both match the table.
  void run(int place, const Fault& fault);

 private:
  struct Expectation {
    QStringList calls;
    QStringList texts;
  };

  void makeFixture();
  bool isPoll(int place) const;
  bool isPacket(int place) const;
  Step stepOf(int place) const;
  Step checksumStepAt(int place) const;
  /// Number of the start packet that a place belongs to.
  int attemptAt(int place) const;
  Reaction reactionAt(int place, const Fault& fault) const;
  Expectation expect(int place, const Fault& fault) const;
  void appendCourse(const Reaction& reaction, int place, Expectation& expected) const;

  /// Runs an upgrade and compares it with the expectation.
  /// @param anyPolls ignore the number of busy polls, which depends on the time that passes
  void compare(const Expectation& expected, bool anyPolls, const QString& prefix);

  const char* button_;
  bool inApplication_;
  QStringList calls_;  // of an upgrade without a fault
  QVector<Step> steps_;
  std::unique_ptr<control_table::ControlFixture> fixture_;
  WindowState before_;
  bool needsFreshWindow_ = false;  // a breach may leave the window in any state
};

}  // namespace fault_matrix
