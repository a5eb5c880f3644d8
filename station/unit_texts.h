#pragma once

#include "station/ledger.h"

#include <QString>

namespace station {

/// What to do with a unit, in one sentence.
QString sentenceFor(UnitResult result, const QString& serial);

/// The outcome of a step: name, outcome, evidence, reason and tries.
QString outcomeText(const StepRecord& step);

/// The same as a line for the operator, with serial number and time.
QString stepLine(const QString& serial, const StepRecord& step);

/// Why a key is lost that may be in a unit without that serial number.
QString notCarriedText(const QString& serial);

}  // namespace station
