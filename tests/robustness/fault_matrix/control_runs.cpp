#include "tests/robustness/fault_matrix/control_runs.h"

#include "device/RTICE_SDK_x64.h"
#include "simulator/control/control.h"

#include <QLabel>

#include <utility>

using control_table::Action;
using control_table::expect;
using control_table::Expectation;
using control_table::require;

namespace fault_matrix {
namespace {

void compare(const Outcome& seen, const Expectation& expected) {
  require(seen.state == expected.state, differences(seen.state, expected.state));
  require(seen.operations == expected.operations,
          "calls " + seen.operations.join(", ") + " instead of " + expected.operations.join(", "));
}

}  // namespace

ControlRuns::ControlRuns(Control control) : control_(std::move(control)) {
  makeFixture();
  renew();
  healthy_ = fixture_->act(control_.actions);
}

const Call* ControlRuns::callAt(int place) const {
  const Call* found = nullptr;
  expect(control_, before_, place, Fault(), &found);
  return found;
}

void ControlRuns::checkHealthy() const { compare(healthy_, expect(control_, before_)); }

void ControlRuns::run(int place, const Fault& fault) {
  if (std::exchange(needsFreshWindow_, true)) {
    makeFixture();
  } else {
    reconnect();
  }
  renew();
  const QString operation = healthy_.operations[place];
  inject(fault, operation, static_cast<unsigned>(healthy_.operations.mid(0, place + 1).count(operation)));
  const Outcome seen = fixture_->act(control_.actions);
  compare(seen, expect(control_, before_, place, fault));
  require(fault.kind != Kind::kLate || seen.durations[place] >= kDelay, "the call was not late");

  // The same again without the fault, on the device in its present state.
  repair();
  simulator::reportDuringBurns({});
  reconnect();
  requireNothingSwallowed();
  arrange();
  const Outcome again = fixture_->act(control_.actions);
  require(again.state == healthy_.state, "afterwards: " + differences(again.state, healthy_.state));
  require(again.results == healthy_.results,
          "afterwards: calls " + again.results.join(", ") + " instead of " + healthy_.results.join(", "));
  needsFreshWindow_ = false;
}

bool ControlRuns::isSession() const {
  return !control_.calls.isEmpty() && control_.calls.first().operation == QLatin1String("closePort");
}

void ControlRuns::makeFixture() {
  fixture_ = std::make_unique<ControlFixture>(control_.connected);
  before_ = fixture_->state();
  for (auto state = before_.begin(); state != before_.end(); ++state) {
    if (fixture_->window().findChild<QLabel*>(state.key()) != nullptr && state.key() != QLatin1String("logo")) {
      state.value() = "was " + state.key();
    }
  }
  apply(control_table::kInitialState, before_);
  apply(control_.given, before_);
  fixture_->restore(before_);
  before_ = fixture_->state();
}

void ControlRuns::renew() const {
  fixture_->renewDevice(control_table::kScenario);
  arrange();
}

void ControlRuns::arrange() const {
  fixture_->restore(before_);
  simulator::setGpioPin(1, 13, 42);
  simulator::programEeprom(0x50, 0x10, {control_table::kRegister.begin(), control_table::kRegister.end()});
  if (control_.connected) {
    AT_Audio_Set_DACHP_Mute(0);
  }
  if (control_.failsBefore != nullptr) {
    simulator::failCall(control_.failsBefore, callsSoFar(control_.failsBefore) + 1, -1);
  }
}

void ControlRuns::requireNothingSwallowed() const {
  if (!control_.connected || isSession()) {
    return;
  }
  fixture_->restore(before_);
  const QStringList operations = fixture_
                                     ->act({{Action::Kind::kChooseRow, "CB_EDID_Mode", "Follow TX"},
                                            {Action::Kind::kChooseRow, "CB_Current_FlashEDID_List", "5"},
                                            {Action::Kind::kMove, "HS_HPOUT_GAIN", "9"}})
                                     .operations;
  const QStringList expected{"AT_EDID_Set_EDID_mode", "AT_EDID_Flash_Set_Default_table", "AT_Audio_Set_HPOUTgain"};
  require(operations == expected, "afterwards the device hears only of " + operations.join(", "));
}

void ControlRuns::reconnect() const {
  if (!control_.connected) {
    // Choosing the other model ends the session, which would otherwise be kept.
    fixture_->user.choose("CB_DeviceType", "KVR-5B");
    fixture_->user.click("BN_Connect");
  } else if (isSession()) {
    closePort();  // the program tries to close a port only once
    fixture_->user.choose("CB_DeviceType", "KVR-7");
    fixture_->user.click("BN_Connect");
  }
}

}  // namespace fault_matrix
