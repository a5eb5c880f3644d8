#include "station/shift.h"

#include "station/job_reader.h"

#include <algorithm>

namespace station {
namespace {

QString stepsText(const OpenAttempt& attempt) {
  QStringList names;
  for (const StepRecord& step : attempt.steps) {
    if (step.outcome != StepOutcome::kFailed) {
      names << step.name;
    }
  }
  return names.isEmpty() ? QStringLiteral("nothing") : names.join(QStringLiteral(", "));
}

}  // namespace

int ShiftEnd::passed() const {
  return static_cast<int>(
      std::count_if(units.begin(), units.end(), [](const UnitEnd& unit) { return unit.result == UnitResult::kPass; }));
}

bool ShiftEnd::hasBegun() const {
  return std::any_of(units.begin(), units.end(), [](const UnitEnd& unit) { return unit.isBegun; });
}

// Each part returns false once the shift is over.

ShiftEnd Shift::run() {
  if (settleUnfinished()) {
    while (!isComplete() && doNextUnit()) {
    }
  }
  if (options_.count && !isComplete() && end_.problem.isEmpty()) {
    tellWhatIsMissing();
  }
  return std::move(end_);
}

bool Shift::isComplete() const { return options_.count && static_cast<int>(end_.units.size()) >= *options_.count; }

void Shift::tellWhatIsMissing() {
  const auto done = static_cast<int>(end_.units.size());
  if (!tools_.outside.stopRequested()) {
    fail(QStringLiteral("the input ended after %1 of %2 units").arg(done).arg(*options_.count));
  } else if (done > 0) {
    fail(QStringLiteral("stopped after %1 of %2 units").arg(done).arg(*options_.count));
  }
}

bool Shift::fail(const QString& problem) {
  end_.problem = problem;
  return false;
}

bool Shift::fail(const LedgerError& error) {
  end_.ledgerError = error;
  return fail(error.message);
}

std::optional<QString> Shift::ask(const QString& question) {
  while (!tools_.outside.stopRequested()) {
    tools_.display.ask(question);
    const auto line = options_.readLine();
    if (!line || tools_.outside.stopRequested()) {
      return std::nullopt;
    }
    if (const QString text = line->trimmed(); !text.isEmpty()) {
      return text;
    }
  }
  return std::nullopt;
}

bool Shift::settleUnfinished() {
  const auto unfinished = tools_.ledger.unfinished(options_.start.station);
  if (!unfinished) {
    return fail(unfinished.error());
  }
  return std::all_of(unfinished->begin(), unfinished->end(), [this](const OpenAttempt& one) { return settle(one); });
}

bool Shift::settle(const OpenAttempt& interrupted) {
  const QString& serial = interrupted.attempt.serial;
  tools_.display.say(
      QStringLiteral("The unit %1 was not finished. Done so far: %2.").arg(serial, stepsText(interrupted)));
  if (interrupted.jobSha256 != tools_.job.sha256 && options_.unfinished != Unfinished::kScrap) {
    return close(UnitRun(tools_).abandon(interrupted, QStringLiteral("interrupted, and the job has changed since")));
  }
  const auto choice =
      options_.unfinished == Unfinished::kAsk ? askWhetherToResume(interrupted) : std::optional(options_.unfinished);
  if (!choice) {
    return fail(QStringLiteral("the unit %1 waits for an answer: resume or scrap").arg(serial));
  }
  return *choice == Unfinished::kScrap ? scrap(interrupted) : resume(interrupted);
}

std::optional<Unfinished> Shift::askWhetherToResume(const OpenAttempt& interrupted) {
  while (true) {
    const auto answer = ask(QStringLiteral("Type resume to go on with %1, or scrap to take it out for good:")
                                .arg(interrupted.attempt.serial));
    if (!answer) {
      return std::nullopt;
    }
    if (answer->compare(QLatin1String("resume"), Qt::CaseInsensitive) == 0) {
      return Unfinished::kResume;
    }
    if (answer->compare(QLatin1String("scrap"), Qt::CaseInsensitive) == 0) {
      return Unfinished::kScrap;
    }
  }
}

bool Shift::scrap(const OpenAttempt& interrupted) {
  const QString& serial = interrupted.attempt.serial;
  const auto scrapped =
      tools_.ledger.scrap(serial, options_.start.operatorName, QStringLiteral("interrupted, and not resumed"));
  if (!scrapped) {
    return fail(scrapped.error());
  }
  tools_.display.warn(QStringLiteral("%1 is scrapped: put the unit where nobody sells it.").arg(serial));
  return true;
}

bool Shift::resume(const OpenAttempt& interrupted) {
  while (true) {
    tools_.display.say(QStringLiteral("Plug in the unit %1.").arg(interrupted.attempt.serial));
    Identity identity;
    QString reason;
    if (tools_.link.open(std::nullopt, &identity, &reason) != DeviceLink::Wait::kThere) {
      return false;
    }
    const auto mistake = mistakeInUnit(identity, interrupted, tools_.job, tools_.ledger);
    if (!mistake) {
      return fail(mistake.error());
    }
    if (mistake->isEmpty()) {
      return close(UnitRun(tools_).resume(identity, interrupted));
    }
    tools_.display.warn(QStringLiteral("This is another unit: %1. Unplug it.").arg(*mistake));
    if (tools_.link.waitUntilUnplugged() != DeviceLink::Wait::kThere) {
      return false;
    }
  }
}

std::optional<QString> Shift::scanSerial() {
  while (true) {
    auto text = ask(QStringLiteral("Scan the serial number of the next unit:"));
    if (!text) {
      return std::nullopt;
    }
    const QString mistake = mistakeInSerialNumber(*text, tools_.job.serial);
    if (mistake.isEmpty()) {
      return text;
    }
    tools_.display.warn(QStringLiteral("%1: %2. Scan again.").arg(*text, mistake));
  }
}

bool Shift::doNextUnit() {
  AttemptStart start = options_.start;
  const bool isScanned = tools_.job.serial.source == SerialSource::kScan;
  if (isScanned) {
    const auto serial = scanSerial();
    if (!serial) {
      return false;
    }
    start.serial = *serial;
  }
  tools_.display.say(isScanned ? QStringLiteral("Plug in the unit %1.").arg(start.serial)
                               : QStringLiteral("Plug in the next unit."));
  Identity identity;
  QString reason;
  // Nobody has begun anything while no number was scanned: no reason to give up.
  const auto within = isScanned ? std::optional<std::chrono::milliseconds>(tools_.job.waitForDevice) : std::nullopt;
  switch (tools_.link.open(within, &identity, &reason)) {
    case DeviceLink::Wait::kStopped:
      return false;
    case DeviceLink::Wait::kTooLong:
      return close(UnitRun(tools_).missed(start, QStringLiteral("no unit answered: %1").arg(reason)));
    case DeviceLink::Wait::kThere:
      break;
  }
  tools_.display.say(QStringLiteral("Found %1.").arg(identity.text()));
  return close(UnitRun(tools_).run(identity, start));
}

bool Shift::close(const UnitEnd& unit) {
  end_.units.push_back(unit);
  tools_.display.verdict(unit.result, unit.serial, unit.reason, unit.sentence);
  if (unit.ledgerError) {
    return fail(*unit.ledgerError);
  }
  return isComplete() || tools_.link.waitUntilUnplugged() == DeviceLink::Wait::kThere;
}

}  // namespace station
