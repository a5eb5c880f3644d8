#pragma once

#include "cli/document.h"
#include "station/report.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace cli {

/// An attempt with its steps and keys.
Value attemptValue(const station::AttemptRecord& attempt);
/// The same for people, in lines.
QString attemptText(const station::AttemptRecord& attempt);

Value eventValue(const station::UnitEvent& event);
QString eventText(const station::UnitEvent& event);

/// Comma-separated values (RFC 4180), one line an attempt below one of names.
QByteArray csvOf(const std::vector<station::AttemptRecord>& attempts);
/// JUnit's XML: one test case an attempt.
QByteArray junitOf(const std::vector<station::AttemptRecord>& attempts);
Document exportDocument(const std::vector<station::AttemptRecord>& attempts);

}  // namespace cli
