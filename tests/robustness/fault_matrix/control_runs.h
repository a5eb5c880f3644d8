#pragma once

#include "device/RTICE_SDK_x64.h"
#include "tests/robustness/fault_matrix/bench.h"
#include "tests/robustness/fault_matrix/control_table.h"
#include "tests/robustness/fault_matrix/faults.h"

#include <memory>
#include <utility>

namespace fault_matrix {

/// A control's runs, which share a window as long as all goes well.
class ControlRuns {
 public:
  explicit ControlRuns(Control control) : control_(std::move(control)) {
    makeBench();
    renew();
    healthy_ = bench_->act(control_.deed);
  }

  const Control& control() const { return control_; }
  /// The calls of a run without a fault: the places of faults.
  const QStringList& operations() const { return healthy_.operations; }

  /// The table's row for a place; null for a call that cleans up after another.
  const Call* callAt(int place) const {
    const Call* found = nullptr;
    expect(place, Fault(), &found);
    return found;
  }

  /// Throws when the table says otherwise of a run without a fault.
  void checkHealthy() const { compare(healthy_, expect(-1, Fault())); }

  /// Runs with a fault at a place, then without, and throws at a breach.
  void run(int place, const Fault& fault) {
    if (std::exchange(spoilt_, true)) {
      makeBench();
    } else {
      reconnect();
    }
    renew();
    const QString operation = healthy_.operations[place];
    inject(fault, operation, static_cast<unsigned>(healthy_.operations.mid(0, place + 1).count(operation)));
    const Outcome seen = bench_->act(control_.deed);
    compare(seen, expect(place, fault));
    require(fault.kind != Kind::kLate || seen.durations[place] >= kDelay, "the call was not late");

    // The same again on the device as it is now, without the fault.
    repair();
    simulator::reportDuringBurns({});
    reconnect();
    requireNothingSwallowed();
    arrange();
    const Outcome again = bench_->act(control_.deed);
    require(again.state == healthy_.state, "afterwards: " + differences(again.state, healthy_.state));
    require(again.results == healthy_.results,
            "afterwards: calls " + again.results.join(", ") + " instead of " + healthy_.results.join(", "));
    spoilt_ = false;
  }

 private:
  bool isSession() const { return control_.calls.first().operation == QLatin1String("closePort"); }

  void makeBench() {
    bench_ = std::make_unique<Bench>(control_.connected);
    if (control_.deed.kind == Deed::Kind::kRunWorker) {
      bench_->act({Deed::Kind::kChooseFile, "BN_Browse_Cap", "DIR/capture.img"});
    }
    before_ = bench_->state();
    for (auto state = before_.begin(); state != before_.end(); ++state) {
      if (bench_->window.findChild<QLabel*>(state.key()) != nullptr && state.key() != QLatin1String("logo")) {
        state.value() = "was " + state.key();
      }
    }
    apply(kMarks, before_);
    apply(control_.given, before_);
    bench_->restore(before_);
    before_ = bench_->state();
  }

  static void apply(const States& states, WindowState& state) {
    for (const State& change : states) {
      state[change.widget] = change.state;
    }
  }

  void renew() const {
    bench_->renewDevice(kScenario);
    arrange();
  }

  /// What each run starts from, beside the session.
  void arrange() const {
    bench_->restore(before_);
    simulator::setGpioPin(1, 13, 0x2A);
    if (control_.connected) {
      AT_Audio_Set_DACHP_Mute(0);
    }
    if (control_.failsBefore != nullptr) {
      simulator::failCall(control_.failsBefore, callsSoFar(control_.failsBefore) + 1, -1);
    }
  }

  struct Expectation {
    WindowState state;
    QStringList operations;
  };

  /// What the table says of a run with a fault.
  Expectation expect(int place, const Fault& fault, const Call** called = nullptr) const {
    Expectation expected{before_, {}};
    apply(control_.moved, expected.state);
    QVector<Shown> waiting;
    Effect waitingFor = Effect::kDevice;
    bool gone = false;
    bool skipped = false;
    bool refused = false;
    for (const Call& call : control_.calls) {
      if (std::exchange(skipped, false)) {
        continue;
      }
      const bool here = expected.operations.size() == place;
      expected.operations << call.operation;
      if (here && called != nullptr) {
        *called = &call;
      }
      gone = gone || (here && fault.kind == Kind::kGone);
      Effect effect = here && fault.kind == Kind::kAnswer ? fault.effect : Effect::kDevice;
      if ((effect == Effect::kDevice && call.failsAnyway) || (gone && needsDevice(call.operation))) {
        effect = Effect::kFails;
      }
      if (std::exchange(refused, false)) {
        effect = Effect::kFails;
      }
      if (effect == Effect::kFails) {
        refused = call.nextIsRefused && fault.kind == Kind::kAnswer;
        apply(call.failure, expected.state);
        if (call.cleanUp != nullptr) {
          expected.operations << call.cleanUp;
        }
        if (call.then == Then::kStops) {
          break;
        }
        continue;
      }
      if (effect == Effect::kText) {
        expected.state[call.textWidget] = fault.text;
        continue;
      }
      if (call.shownWithNext) {
        waiting = call.shown;
        waitingFor = effect;
        continue;
      }
      show(waiting, waitingFor, expected.state);
      waiting.clear();
      show(call.shown, effect, expected.state);
      skipped = !(effect == Effect::kOnes        ? call.leadsToNext.ones
                  : effect == Effect::kUntouched ? call.leadsToNext.untouched
                                                 : call.leadsToNext.device);
    }
    return expected;
  }

  static void show(const QVector<Shown>& shown, Effect effect, WindowState& state) {
    for (const Shown& widget : shown) {
      const QString& text = effect == Effect::kOnes        ? widget.ones
                            : effect == Effect::kUntouched ? widget.untouched
                                                           : widget.device;
      if (!text.isNull()) {
        state[widget.widget] = text;
      }
    }
  }

  static void compare(const Outcome& seen, const Expectation& expected) {
    require(seen.state == expected.state, differences(seen.state, expected.state));
    require(seen.operations == expected.operations,
            "calls " + seen.operations.join(", ") + " instead of " + expected.operations.join(", "));
  }

  /// The window does not send what it sets itself on a read; a fault there must
  /// not make it keep what the operator sets next. Leaves the device as it was.
  void requireNothingSwallowed() const {
    if (!control_.connected || isSession()) {
      return;
    }
    bench_->restore(before_);
    QStringList operations;
    for (const Deed& deed : {Deed{Deed::Kind::kChooseRow, "CB_EDID_Mode", "Follow TX"},
                             Deed{Deed::Kind::kChooseRow, "CB_Current_FlashEDID_List", "5"},
                             Deed{Deed::Kind::kSlide, "HS_HPOUT_GAIN", "9"}}) {
      operations += bench_->act(deed).operations;
    }
    const QStringList expected{"AT_EDID_Set_EDID_mode", "AT_EDID_Flash_Set_Default_table", "AT_Audio_Set_HPOUTgain"};
    require(operations == expected, "afterwards the device hears only of " + operations.join(", "));
  }

  /// Brings the window back to the session that the control starts from.
  void reconnect() const {
    if (!control_.connected) {
      // The session would be kept; the other model ends it.
      bench_->user.choose("CB_DeviceType", "KVR-5B");
      bench_->user.click("BN_Connect");
    } else if (isSession()) {
      bench_->user.choose("CB_DeviceType", "KVR-7");
      bench_->user.click("BN_Connect");
    }
  }

  bool spoilt_ = false;  // a breach may leave the window in any state
  Control control_;
  std::unique_ptr<Bench> bench_;
  WindowState before_;
  Outcome healthy_;
};

}  // namespace fault_matrix
