#pragma once

#include "station/ledger.h"

#include <QString>

namespace station {

/// What to do with a unit, in one sentence.
QString sentenceFor(UnitResult result, const QString& serial);

/// What came of a step, in one line.
QString stepLine(const QString& serial, const StepRecord& step);

}  // namespace station
