#include "station/unit_run.h"

#include "station/unit_compare.h"
#include "station/unit_texts.h"

#include <algorithm>
#include <utility>

namespace station {
namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;

constexpr int kRestartTries = 2;

/// Where a step names the key that it burnt.
QString keyDetail() { return QStringLiteral("keySha256"); }

bool hasTaken(const OpenAttempt& interrupted, const QString& key) {
  return std::any_of(interrupted.keys.begin(), interrupted.keys.end(),
                     [&key](const TakenKey& taken) { return taken.sha256 == key; });
}

bool hasBurnt(const OpenAttempt& interrupted, const QString& key) {
  return std::any_of(interrupted.steps.begin(), interrupted.steps.end(), [&key](const StepRecord& step) {
    const auto burnt = step.details.find(keyDetail());
    return step.outcome == StepOutcome::kDone && burnt != step.details.end() && burnt->second == key;
  });
}

StepOutcome outcomeOf(StepEnding ending) {
  return ending == StepEnding::kDone      ? StepOutcome::kDone
         : ending == StepEnding::kAlready ? StepOutcome::kSkipped
                                          : StepOutcome::kFailed;
}

StepRecord recordOf(Step step, const StepReport& report) {
  StepRecord record;
  record.name = nameOf(step);
  record.outcome = outcomeOf(report.ending);
  record.evidence = report.evidence;
  record.reason = report.ending == StepEnding::kAlready ? QStringLiteral("right already") : report.problem;
  if (!report.before.isEmpty()) {
    record.details[QStringLiteral("before")] = report.before;
  }
  if (!report.after.isEmpty()) {
    record.details[QStringLiteral("after")] = report.after;
  }
  return record;
}

}  // namespace

UnitEnd UnitRun::run(const Identity& identity, const AttemptStart& start) {
  serial_ = start.serial;
  return finish([&] {
    begin(identity, start);
    doUnit();
  });
}

UnitEnd UnitRun::resume(const Identity& identity, const OpenAttempt& interrupted) {
  serial_ = interrupted.attempt.serial;
  attempt_ = interrupted.attempt.id;
  return finish([&] {
    begun_ = tools_.outside.now();
    watch_.begin(identity, serial_);
    before_ = factsOf(identity);
    bool isIdentified = false;
    for (const StepRecord& step : interrupted.steps) {
      if (!isIdentified && step.name == QLatin1String("identify")) {
        before_ = step.details;
        isIdentified = true;
      }
    }
    settleKey(interrupted, watch_.carriesSerial());
    StepRecord step;
    step.name = QStringLiteral("resume");
    step.details = factsOf(identity);
    record(step);
    doUnit();
  });
}

UnitEnd UnitRun::missed(const AttemptStart& start, const QString& reason) {
  serial_ = start.serial;
  return finish([&] {
    begun_ = tools_.outside.now();
    beginAttempt(start);
    throw RunEnded{UnitResult::kTimeout, reason};
  });
}

UnitEnd UnitRun::abandon(const OpenAttempt& interrupted, const QString& reason) {
  serial_ = interrupted.attempt.serial;
  attempt_ = interrupted.attempt.id;
  return finish([&] {
    begun_ = tools_.outside.now();
    settleKey(interrupted, require(tools_.ledger.unit(serial_)).isCarried);
    throw RunEnded{UnitResult::kAborted, reason};
  });
}

// In doubt a key counts as lost: it must never go into two units.
void UnitRun::settleKey(const OpenAttempt& interrupted, bool carriesSerial) {
  const auto unit = require(tools_.ledger.unit(serial_));
  if (unit.keySha256.isEmpty()) {
    return;
  }
  const bool isOwn = hasTaken(interrupted, unit.keySha256);
  const bool isDoubtful = isOwn && !hasBurnt(interrupted, unit.keySha256);
  if (carriesSerial && !isDoubtful) {
    isKeyBurnt_ = isOwn || !unit.isShared;
    return;
  }
  const QString reason = isDoubtful ? QStringLiteral("interrupted around its burn") : notCarriedText(serial_);
  require(tools_.ledger.loseKey(*attempt_, unit.keySha256, reason));
}

void UnitRun::beginAttempt(const AttemptStart& start) {
  const auto attempt = tools_.ledger.begin(tools_.job, start);
  if (!attempt) {
    if (attempt.error().kind != LedgerError::Kind::kRefused) {
      ledgerError_ = attempt.error();
    }
    throw RunEnded{UnitResult::kError, attempt.error().message};
  }
  attempt_ = attempt->id;
  serial_ = attempt->serial;
}

void UnitRun::begin(const Identity& identity, const AttemptStart& start) {
  begun_ = tools_.outside.now();
  const auto admitted = admit(tools_.job, tools_.ledger, identity, start);
  if (!admitted) {
    serial_ = start.serial.isEmpty() ? identity.serialNumber : start.serial;
    if (admitted.error().ledgerError) {
      ledgerError_ = admitted.error().ledgerError;
    }
    throw RunEnded{UnitResult::kError, admitted.error().reason};
  }
  beginAttempt(*admitted);
  watch_.begin(identity, serial_);
  before_ = factsOf(identity);
  const auto unit = require(tools_.ledger.unit(serial_));
  // Where two units may carry the number, either may have the key.
  isKeyBurnt_ = watch_.carriesSerial() && !unit.keySha256.isEmpty() && !unit.isShared;
  StepRecord step;
  step.name = QStringLiteral("identify");
  step.details = before_;
  record(step);
}

void UnitRun::doUnit() {
  for (const PlannedStep& planned : tools_.job.steps) {
    doStep(planned);
  }
  restartUnit();
  compareAll();
}

UnitEnd UnitRun::finish(const std::function<void()>& work) {
  UnitEnd end;
  try {
    work();
    end.result = UnitResult::kPass;
  } catch (const RunEnded& ended) {
    end.result = ended.result;
    end.reason = ended.reason;
  }
  end.serial = serial_;
  end.isBegun = attempt_.has_value();
  if (!attempt_) {
    return notBegun(end);
  }
  // A key counts as this unit's only where its serial number says so.
  if (end.result != UnitResult::kPass && key_ && !(isKeyBurnt_ && watch_.carriesSerial())) {
    loseKey(notCarriedText(serial_));
  }
  AttemptEnd record;
  record.result = end.result;
  record.reason = end.reason;
  record.versionsBefore = before_;
  record.versionsAfter = after_;
  record.duration = since(begun_);
  if (const auto ended = tools_.ledger.end(*attempt_, record); !ended) {
    ledgerError_ = ended.error();
    end.result = UnitResult::kError;
    end.reason = ended.error().message;
  }
  end.ledgerError = ledgerError_;
  end.sentence = sentenceFor(end.result, serial_);
  return end;
}

UnitEnd UnitRun::notBegun(UnitEnd end) const {
  end.ledgerError = ledgerError_;
  end.sentence = QStringLiteral("Nothing was written to the unit: unplug it.");
  return end;
}

void UnitRun::doStep(const PlannedStep& planned) {
  const Step step = planned.step;
  const auto start = tools_.outside.now();
  watch_.stepBegins(step);
  StepReport report;
  int tries = 0;
  do {
    ++tries;
    stopIfRequested();
    watch_.lookAgain(nameOf(step), isKeyBurnt_ || key_);
    report = tryStep(step);
  } while (report.ending == StepEnding::kFailed && tries <= planned.retries);
  StepRecord made = recordOf(step, report);
  made.tries = tries;
  made.duration = since(start);
  if (step == Step::kKey && key_) {
    made.details[keyDetail()] = key_->sha256;
  }
  record(made);
  if (report.ending == StepEnding::kStopped) {
    throw RunEnded{UnitResult::kAborted, QStringLiteral("%1: %2").arg(nameOf(step), report.problem)};
  }
  if (report.ending == StepEnding::kFailed) {
    // Perhaps because another unit is there, or none.
    watch_.lookAgain(QStringLiteral("going on after %1").arg(nameOf(step)), false);
    throw RunEnded{UnitResult::kFail, QStringLiteral("%1: %2").arg(nameOf(step), report.problem)};
  }
  watch_.stepIsDone(step);
}

StepReport UnitRun::tryStep(Step step) {
  const Job& job = tools_.job;
  switch (step) {
    case Step::kMcu:
      return upgradeMcu(tools_.files.mcu, job.mcu->version, stepTools(step));
    case Step::kCapture:
      if (const QString mistake = mistakeInFile(job.capture->path, job.capture->sha256); !mistake.isEmpty()) {
        throw RunEnded{UnitResult::kError, mistake};
      }
      return burnCapture(job.capture->path, job.capture->version, stepTools(step));
    case Step::kKey:
      return burnUnitKey();
    case Step::kSerial:
      return setSerialNumber(serial_);
    case Step::kEdid:
      return writeEdidRule();
  }
  return {};
}

StepReport UnitRun::burnUnitKey() {
  if (isKeyBurnt_ && !key_) {
    StepReport report;
    report.ending = StepEnding::kAlready;
    report.evidence = QStringLiteral("ledger");
    return report;
  }
  if (!key_) {
    key_ = require(tools_.ledger.takeKey(*attempt_, tools_.job.keyFolder));
  }
  if (const QString mistake = mistakeInFile(key_->path, key_->sha256); !mistake.isEmpty()) {
    throw RunEnded{UnitResult::kError, mistake};
  }
  StepReport report = burnKey(key_->path);
  isKeyBurnt_ = report.ending == StepEnding::kDone;
  return report;
}

StepReport UnitRun::writeEdidRule() {
  StepReport whole;
  whole.ending = StepEnding::kAlready;
  const auto add = [&whole](const StepReport& part) {
    whole.evidence = part.evidence;
    whole.problem = part.problem;
    whole.ending = part.ending == StepEnding::kAlready ? whole.ending : part.ending;
    return part.ending == StepEnding::kDone || part.ending == StepEnding::kAlready;
  };
  bool isFirst = true;
  const auto look = [&] {
    stopIfRequested();
    if (!std::exchange(isFirst, false)) {  // who came before the first one has looked
      watch_.lookAgain(nameOf(Step::kEdid), isKeyBurnt_ || key_);
    }
  };
  for (const auto& [slot, table] : tools_.files.edid) {
    look();
    if (!add(writeEdid(slot, table))) {
      whole.problem = QStringLiteral("slot %1: %2").arg(slot).arg(whole.problem);
      return whole;
    }
  }
  const EdidRule& rule = tools_.job.edid;
  if (rule.mode) {
    look();
    if (!add(setEdidMode(*rule.mode))) {
      whole.problem = QStringLiteral("mode: %1").arg(whole.problem);
      return whole;
    }
  }
  if (rule.defaultSlot) {
    look();
    if (!add(setEdidSlot(*rule.defaultSlot))) {
      whole.problem = QStringLiteral("slot in use: %1").arg(whole.problem);
    }
  }
  return whole;
}

void UnitRun::loseKey(const QString& reason) {
  if (const auto lost = tools_.ledger.loseKey(*attempt_, key_->sha256, reason); !lost) {
    ledgerError_ = lost.error();
  }
}

void UnitRun::restartUnit() {
  stopIfRequested();
  const auto start = tools_.outside.now();
  StepRecord made;
  made.name = QStringLiteral("restart");
  StepReport report;
  for (made.tries = 0; made.tries < kRestartTries && report.ending != StepEnding::kDone; ++made.tries) {
    watch_.lookAgain(QStringLiteral("the restart"), isKeyBurnt_ || key_);
    report = restart();
  }
  if (report.ending != StepEnding::kDone) {
    made.outcome = StepOutcome::kFailed;
    made.reason = report.problem;
    made.duration = since(start);
    record(made);
    watch_.lookAgain(QStringLiteral("going on after the restart"), false);
    throw RunEnded{UnitResult::kFail, report.problem};
  }
  watch_.waitForReturn();
  made.evidence = QStringLiteral("answers");
  made.duration = since(start);
  record(made);
}

void UnitRun::compareAll() {
  const auto start = tools_.outside.now();
  StepRecord made;
  made.name = QStringLiteral("compare");
  made.evidence = QStringLiteral("readback");
  QStringList problems = compareUnit(tools_.job, tools_.files, serial_, &after_);
  if (!problems.isEmpty()) {
    // It may have been unplugged for a moment, or not have been ready.
    ++made.tries;
    watch_.lookAgain(QStringLiteral("the comparison"), isKeyBurnt_ || key_);
    problems = compareUnit(tools_.job, tools_.files, serial_, &after_);
  }
  made.details = after_;
  made.duration = since(start);
  if (!problems.isEmpty()) {
    made.outcome = StepOutcome::kFailed;
    made.evidence.clear();
    made.reason = problems.join(QStringLiteral("; "));
  }
  record(made);
  if (!problems.isEmpty()) {
    throw RunEnded{UnitResult::kFail, made.reason};
  }
}

void UnitRun::record(const StepRecord& step) {
  tools_.display.say(stepLine(serial_, step));
  require(tools_.ledger.addStep(*attempt_, step));
}

template <typename Value>
Value UnitRun::require(LedgerResult<Value> result) {
  if (!result) {
    ledgerError_ = result.error();
    throw RunEnded{UnitResult::kError, result.error().message};
  }
  if constexpr (!std::is_void_v<Value>) {
    return std::move(*result);
  }
}

void UnitRun::stopIfRequested() const {
  if (tools_.outside.stopRequested()) {
    throw RunEnded{UnitResult::kAborted, QStringLiteral("stopped by the operator")};
  }
}

milliseconds UnitRun::since(std::chrono::steady_clock::time_point start) const {
  return duration_cast<milliseconds>(tools_.outside.now() - start);
}

StepTools UnitRun::stepTools(Step step) const {
  const auto show = [this, what = QStringLiteral("%1  %2").arg(serial_, nameOf(step))](int percent) {
    tools_.display.progress(what, percent);
  };
  return {tools_.outside.pause, tools_.outside.stopRequested, show};
}

}  // namespace station
