#pragma once

#include "station/database.h"
#include "station/ledger.h"

/// Conversions between the ledger's rows and its types; not for others.
namespace station {

/// A JSON object in one line.
QString jsonOf(const Facts& facts);
/// Empty for a text that is no JSON object of texts.
Facts factsOf(const QString& json);

/// The serial numbers that are taken; quick for many questions.
class TakenSerials {
 public:
  explicit TakenSerials(const Database& database);
  bool has(const QString& serial);

 private:
  Statement row_;
};

/// The steps of an attempt, in their order.
std::vector<StepRecord> stepsOf(const Database& database, std::int64_t attempt);

/// Whether a unit has passed in a round.
bool hasPassed(const Database& database, const QString& serial, int round);

/// The number behind the last one of the rule's counter.
std::int64_t nextNumberOf(const Database& database, const SerialRule& rule);

std::optional<StepOutcome> stepOutcomeOf(const QString& name);
std::optional<UnitResult> unitResultOf(const QString& name);

}  // namespace station
