#include "station/ledger_rows.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>

namespace station {
namespace {

constexpr std::array kOutcomeNames{"done", "skipped", "failed"};
constexpr std::array kResultNames{"PASS", "FAIL", "ERROR", "TIMEOUT", "ABORTED"};

template <typename Enum, std::size_t kCount>
std::optional<Enum> enumOf(const std::array<const char*, kCount>& names, const QString& name) {
  for (std::size_t i = 0; i < kCount; ++i) {
    if (name == QLatin1String(names[i])) {
      return static_cast<Enum>(i);
    }
  }
  return std::nullopt;
}

}  // namespace

QString nameOf(StepOutcome outcome) { return QLatin1String(kOutcomeNames.at(static_cast<std::size_t>(outcome))); }
QString nameOf(UnitResult result) { return QLatin1String(kResultNames.at(static_cast<std::size_t>(result))); }

std::optional<StepOutcome> stepOutcomeOf(const QString& name) { return enumOf<StepOutcome>(kOutcomeNames, name); }
std::optional<UnitResult> unitResultOf(const QString& name) { return enumOf<UnitResult>(kResultNames, name); }

QString jsonOf(const Facts& facts) {
  QJsonObject object;
  for (const auto& [name, fact] : facts) {
    object.insert(name, fact);
  }
  return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

Facts factsOf(const QString& json) {
  Facts facts;
  const QJsonObject object = QJsonDocument::fromJson(json.toUtf8()).object();
  for (auto member = object.begin(); member != object.end(); ++member) {
    facts.emplace(member.key(), member.value().toString());
  }
  return facts;
}

TakenSerials::TakenSerials(const Database& database)
    : row_(database.prepare("SELECT 1 FROM serials WHERE serial = ?")) {}

bool TakenSerials::has(const QString& serial) {
  // A line of a file may be longer than what the database takes.
  return serial.size() <= kMaxSerialLength && row_.with({sqlText(serial)}).next();
}

std::vector<StepRecord> stepsOf(const Database& database, std::int64_t attempt) {
  std::vector<StepRecord> steps;
  Statement rows = database.prepare(
      "SELECT name, outcome, evidence, reason, tries, duration_ms, details FROM steps WHERE attempt = ? ORDER BY seq");
  rows.with({attempt});
  while (rows.next()) {
    steps.push_back({rows.text(0), stepOutcomeOf(rows.text(1)).value_or(StepOutcome::kFailed), rows.text(2),
                     rows.text(3), static_cast<int>(rows.number(4)), std::chrono::milliseconds(rows.number(5)),
                     factsOf(rows.text(6))});
  }
  return steps;
}

bool hasPassed(const Database& database, const QString& serial, int round) {
  return database.number("SELECT count(*) FROM ends WHERE serial = ? AND round = ? AND result = 'PASS'",
                         {sqlText(serial), std::int64_t{round}}) > 0;
}

std::int64_t nextNumberOf(const Database& database, const SerialRule& rule) {
  return std::max(rule.first,
                  database.number("SELECT max(number) + 1 FROM serials WHERE counter = ?", {sqlText(rule.prefix)}));
}

}  // namespace station
