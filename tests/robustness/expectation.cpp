#include "tests/robustness/expectation.h"

#include "tests/robustness/control_fixture.h"

#include <utility>

using fault_matrix::Effect;
using fault_matrix::Fault;

namespace control_table {
namespace {

using FaultKind = fault_matrix::Kind;

void show(const QVector<ExpectedState>& shown, Effect effect, WindowState& state) {
  for (const ExpectedState& widget : shown) {
    const QString& text = effect == Effect::kOnes        ? widget.ones
                          : effect == Effect::kUntouched ? widget.untouched
                                                         : widget.device;
    if (!text.isNull()) {
      state[widget.widget] = text;
    }
  }
}

bool leadsToNextCall(const Call& call, Effect effect) {
  return effect == Effect::kOnes        ? call.nextCallMadeAfter.ones
         : effect == Effect::kUntouched ? call.nextCallMadeAfter.untouched
                                        : call.nextCallMadeAfter.device;
}

/// Progress of one run.
struct Course {
  const Fault& fault;
  bool gone = false;     ///< the device is unplugged
  bool refused = false;  ///< the next call will be refused

  /// Decides how a call turns out.
  /// @param here whether the fault is injected at this call
  Effect effectOn(const Call& call, bool here) {
    gone = gone || (here && fault.kind == FaultKind::kGone);
    Effect effect = here && fault.kind == FaultKind::kAnswer ? fault.effect : Effect::kDevice;
    if ((effect == Effect::kDevice && call.failsAnyway) || (gone && fault_matrix::needsDevice(call.operation))) {
      effect = Effect::kFails;
    }
    if (std::exchange(refused, false)) {
      effect = Effect::kFails;
    }
    if (effect == Effect::kFails) {
      refused = call.nextIsRefused && fault.kind == FaultKind::kAnswer;
    }
    return effect;
  }
};

}  // namespace

Expectation expect(const Control& control, const WindowState& before, int place, const Fault& fault,
                   const Call** called) {
  Expectation expected{before, {}, {}};
  apply(control.moved, expected.state);
  QVector<ExpectedState> waiting;
  Effect waitingFor = Effect::kDevice;
  Course course{fault};
  bool skipped = false;
  const auto note = [&expected](const char* operation, const QString& arguments) {
    expected.operations << operation;
    expected.calls << QStringLiteral("%1(%2)").arg(operation, arguments);
  };
  for (const Call& call : control.calls) {
    if (std::exchange(skipped, false)) {
      continue;
    }
    const bool here = expected.operations.size() == place;
    note(call.operation, call.arguments);
    if (here && called != nullptr) {
      *called = &call;
    }
    const Effect effect = course.effectOn(call, here);
    if (effect == Effect::kFails) {
      apply(call.failure, expected.state);
      if (call.cleanUp != nullptr) {
        note(call.cleanUp, {});
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
    skipped = !leadsToNextCall(call, effect);
  }
  return expected;
}

}  // namespace control_table
