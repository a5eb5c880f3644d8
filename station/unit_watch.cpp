#include "station/unit_watch.h"

#include <algorithm>

namespace station {
namespace {

using namespace std::chrono_literals;

// A loose plug, or one that was pulled by mistake, is put back within this.
constexpr auto kComesBackWithin = 10s;
constexpr int kLooks = 3;
constexpr auto kLooksApart = 100ms;

struct IdentityField {
  const char* name;
  QString Identity::*text;
  const char* words;
};
constexpr std::array kFields{
    IdentityField{"uvcName", &Identity::uvcName, "UVC name"},
    IdentityField{"manufacturer", &Identity::manufacturer, "manufacturer"},
    IdentityField{"product", &Identity::product, "product"},
    IdentityField{"serialNumber", &Identity::serialNumber, "serial number"},
    IdentityField{"captureVersion", &Identity::captureVersion, "capture version"},
    IdentityField{"mcuVersion", &Identity::mcuVersion, "MCU version"},
};

/// The step that gives a field its value, and the value.
struct Wanted {
  std::optional<Step> step;
  QString text;
};

Wanted wantedOf(const IdentityField& field, const Job& job, const QString& serial) {
  if (field.text == &Identity::serialNumber) {
    return {Step::kSerial, serial};
  }
  if (field.text == &Identity::captureVersion && job.capture) {
    return {Step::kCapture, job.capture->version};
  }
  if (field.text == &Identity::mcuVersion && job.mcu) {
    return {Step::kMcu, job.mcu->version};
  }
  return {};
}

bool isName(const IdentityField& field) {
  return field.text == &Identity::uvcName || field.text == &Identity::manufacturer || field.text == &Identity::product;
}

QString differs(const IdentityField& field, const QString& known, const QString& found) {
  return QStringLiteral("its %1 is \"%2\" instead of \"%3\"").arg(QLatin1String(field.words), found, known);
}

}  // namespace

void UnitWatch::begin(const Identity& identity, const QString& serial) {
  known_ = identity;
  serial_ = serial;
}

void UnitWatch::stepBegins(Step step) {
  changing_ = step;
  isOpenedAnew_ = false;
}

void UnitWatch::stepIsDone(Step step) {
  for (const IdentityField& field : kFields) {
    const Wanted wanted = wantedOf(field, job_, serial_);
    if (wanted.step == step) {
      known_.*field.text = wanted.text;
    }
  }
  mayBeRenamed_ = mayBeRenamed_ || step == Step::kCapture;
  changing_.reset();
}

QString UnitWatch::differenceTo(const Identity& found) const {
  for (const IdentityField& field : kFields) {
    const QString& text = found.*field.text;
    const QString& known = known_.*field.text;
    if (text == known) {
      continue;
    }
    const Wanted wanted = wantedOf(field, job_, serial_);
    const bool isChanging = changing_ && (wanted.step == changing_ || (isName(field) && changing_ == Step::kCapture));
    const bool isRenamed = isName(field) && mayBeRenamed_;
    if (!isOpenedAnew_ && (isChanging || isRenamed)) {
      continue;
    }
    // Back again in mid-step: as before, as wanted, or without firmware that tells.
    if (isOpenedAnew_ && isChanging && (text == wanted.text || (text.isEmpty() && changing_ != Step::kSerial))) {
      continue;
    }
    if (isOpenedAnew_ && isRenamed && carriesSerial()) {
      continue;
    }
    return differs(field, known, text);
  }
  return {};
}

void UnitWatch::lookAgain(const QString& before, bool mustBeSure) {
  QString difference;
  for (int look = 0; look < kLooks; ++look) {
    if (look > 0) {
      outside_.pause(kLooksApart);
    }
    const auto found = readIdentity();
    if (!found) {
      comeBack(kComesBackWithin, before);
      if (mustBeSure && !carriesSerial()) {
        throw RunEnded{
            UnitResult::kError,
            QStringLiteral("the unit was unplugged before %1, and nothing tells whether this is the same one")
                .arg(before)};
      }
      return;
    }
    difference = differenceTo(*found);
    if (difference.isEmpty()) {
      if (mayBeRenamed_ && !changing_) {
        known_ = *found;
        mayBeRenamed_ = false;
      }
      return;
    }
  }
  throw RunEnded{UnitResult::kError, QStringLiteral("before %1 another unit answers: %2").arg(before, difference)};
}

void UnitWatch::comeBack(std::chrono::milliseconds within, const QString& before) {
  Identity found;
  QString reason;
  switch (link_.open(within, &found, &reason)) {
    case DeviceLink::Wait::kStopped:
      throw RunEnded{UnitResult::kAborted, QStringLiteral("stopped before %1").arg(before)};
    case DeviceLink::Wait::kTooLong:
      throw RunEnded{UnitResult::kTimeout,
                     QStringLiteral("the unit does not answer before %1: %2").arg(before, reason)};
    case DeviceLink::Wait::kThere:
      break;
  }
  isOpenedAnew_ = true;
  if (const QString difference = differenceTo(found); !difference.isEmpty()) {
    throw RunEnded{UnitResult::kError, QStringLiteral("before %1 another unit answers: %2").arg(before, difference)};
  }
}

void UnitWatch::waitForReturn() {
  changing_.reset();
  comeBack(job_.waitForRestart, QStringLiteral("the comparison"));
}

Facts factsOf(const Identity& identity) {
  Facts facts;
  for (const IdentityField& field : kFields) {
    facts[QLatin1String(field.name)] = identity.*field.text;
  }
  return facts;
}

Identity identityOf(const Facts& facts) {
  Identity identity;
  for (const IdentityField& field : kFields) {
    if (const auto fact = facts.find(QLatin1String(field.name)); fact != facts.end()) {
      identity.*field.text = fact->second;
    }
  }
  return identity;
}

QString mistakeInNumber(const QString& carried, const UnitState& own, const QString& wanted, const UnitState& unit) {
  if (carried == wanted) {
    return {};
  }
  if (own.isKnown) {
    return QStringLiteral("the unit is %1 in the ledger, not %2").arg(carried, wanted);
  }
  return unit.isCarried ? QStringLiteral("%1 is the number of another unit").arg(wanted) : QString();
}

LedgerResult<QString> mistakeInUnit(const Identity& identity, const OpenAttempt& interrupted, const Job& job,
                                    const Ledger& ledger) {
  const QString& carried = identity.serialNumber;
  const QString& wanted = interrupted.attempt.serial;
  if (carried == wanted) {
    return {};
  }
  const auto& steps = interrupted.steps;
  const auto identified = std::find_if(steps.begin(), steps.end(),
                                       [](const StepRecord& step) { return step.name == QLatin1String("identify"); });
  if (identified == steps.end()) {
    // Nothing was written yet: any unit will do that could have begun the attempt.
    return ledger.unit(carried).and_then([&](const UnitState& own) {
      return ledger.unit(wanted).map(
          [&](const UnitState& unit) { return mistakeInNumber(carried, own, wanted, unit); });
    });
  }
  const Identity before = identityOf(identified->details);
  for (const IdentityField& field : kFields) {
    const QString& found = identity.*field.text;
    const Wanted becomes = wantedOf(field, job, wanted);
    const bool isDone = becomes.step && std::any_of(steps.begin(), steps.end(), [&becomes](const StepRecord& step) {
                          return step.name == nameOf(*becomes.step) && step.outcome != StepOutcome::kFailed;
                        });
    const bool fits = isDone ? found == becomes.text
                             : found == before.*field.text ||
                                   (becomes.step && (found == becomes.text || found.isEmpty())) ||
                                   (isName(field) && job.capture);
    if (!fits) {
      return differs(field, isDone ? becomes.text : before.*field.text, found);
    }
  }
  return {};
}

}  // namespace station
