#include "station/unit_texts.h"

namespace station {
namespace {

QString secondsText(std::chrono::milliseconds time) {
  return QStringLiteral("%1 s").arg(static_cast<double>(time.count()) / 1000, 0, 'f', 1);
}

}  // namespace

QString sentenceFor(UnitResult result, const QString& serial) {
  switch (result) {
    case UnitResult::kPass:
      return QStringLiteral("Put the label %1 on the unit and unplug it.").arg(serial);
    case UnitResult::kFail:
      return QStringLiteral("Unplug the unit, mark it %1 and put it with those to be repaired.").arg(serial);
    case UnitResult::kError:
      return QStringLiteral("Unplug what is plugged in, put the unit of %1 aside and call the line's lead.")
          .arg(serial);
    case UnitResult::kTimeout:
      return QStringLiteral("Check plug and cable, then run the unit of %1 once more.").arg(serial);
    case UnitResult::kAborted:
      return QStringLiteral("The unit of %1 is not finished: run it once more.").arg(serial);
  }
  return {};
}

QString outcomeText(const StepRecord& step) {
  QString text = QStringLiteral("%1: %2").arg(step.name, nameOf(step.outcome));
  if (!step.evidence.isEmpty()) {
    text += QStringLiteral(" (%1)").arg(step.evidence);
  }
  if (!step.reason.isEmpty()) {
    text += QStringLiteral(", %1").arg(step.reason);
  }
  if (step.tries > 1) {
    text += QStringLiteral(", %1 tries").arg(step.tries);
  }
  return text;
}

QString stepLine(const QString& serial, const StepRecord& step) {
  return QStringLiteral("%1  %2, %3").arg(serial, outcomeText(step), secondsText(step.duration));
}

QString notCarriedText(const QString& serial) {
  return QStringLiteral("the unit did not get as far as to carry %1").arg(serial);
}

}  // namespace station
