#include "station/ledger.h"

#include "device/file_hash.h"
#include "station/chain.h"
#include "station/file_limits.h"
#include "station/job_reader.h"
#include "station/ledger_open.h"
#include "station/ledger_rows.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace station {
namespace {

using Kind = LedgerError::Kind;

QString aboutSerial(const QString& serial) { return QStringLiteral("serial number %1").arg(serial); }
QString aboutAttempt(std::int64_t attempt) { return QStringLiteral("attempt %1").arg(attempt); }

bool isTaken(const Database& database, const QString& serial) { return TakenSerials(database).has(serial); }

/// A serial number and where it came from.
struct Chosen {
  QString serial;
  const char* source = "scan";
  SqlValue counter = {};
  SqlValue number = {};
};

QStringList listOf(const SerialRule& rule) {
  auto list = readSerialList(rule.listFile);
  if (!list) {
    throw LedgerFailure(Kind::kRefused, list.error().line());
  }
  return *std::move(list);
}

Chosen nextOfList(const Database& database, const SerialRule& rule) {
  TakenSerials taken(database);
  for (const QString& serial : listOf(rule)) {
    if (!taken.has(serial)) {
      return {serial, "list"};
    }
  }
  throw LedgerFailure(Kind::kExhausted,
                      QStringLiteral("every serial number of %1 is taken; add more").arg(rule.listFile));
}

Chosen nextOfCounter(const Database& database, const SerialRule& rule) {
  std::int64_t number = nextNumberOf(database, rule);
  for (;; ++number) {
    const QString digits = QStringLiteral("%1").arg(number, rule.digits, 10, QLatin1Char('0'));
    if (digits.size() > rule.digits) {
      throw LedgerFailure(Kind::kExhausted,
                          QStringLiteral("the counter %1 has no number of %2 digits left; give it another prefix")
                              .arg(rule.prefix)
                              .arg(rule.digits));
    }
    const QString serial = rule.prefix + digits;
    if (!isTaken(database, serial)) {
      return {serial, "count", sqlText(rule.prefix), number};
    }
  }
}

Chosen nextSerial(const Database& database, const SerialRule& rule) {
  Chosen chosen;
  switch (rule.source) {
    case SerialSource::kScan:
      throw LedgerFailure(Kind::kRefused, QStringLiteral("the job wants a serial number to be scanned"));
    case SerialSource::kList:
      chosen = nextOfList(database, rule);
      break;
    case SerialSource::kCount:
      chosen = nextOfCounter(database, rule);
      break;
  }
  if (const QString mistake = mistakeInSerialNumber(chosen.serial, rule); !mistake.isEmpty()) {
    throw LedgerFailure(Kind::kRefused, mistake);
  }
  return chosen;
}

/// Of a number that a person or a unit gave.
Chosen givenSerial(const Database& database, const SerialRule& rule, const QString& serial) {
  if (isTaken(database, serial)) {
    return {serial};
  }
  if (const QString mistake = mistakeInSerialNumber(serial, rule); !mistake.isEmpty()) {
    throw LedgerFailure(Kind::kRefused, mistake);
  }
  if (rule.source == SerialSource::kCount || (rule.source == SerialSource::kList && !listOf(rule).contains(serial))) {
    throw LedgerFailure(Kind::kRefused, QStringLiteral("serial number %1 is none that this job gives").arg(serial));
  }
  return {serial, rule.source == SerialSource::kList ? "list" : "scan"};
}

Facts imagesOf(const Job& job) {
  Facts images;
  if (job.mcu) {
    images[QStringLiteral("mcu")] = job.mcu->sha256;
  }
  if (job.capture) {
    images[QStringLiteral("capture")] = job.capture->sha256;
  }
  for (const EdidTable& table : job.edid.tables) {
    images[QStringLiteral("edid%1").arg(table.slot)] = table.sha256;
  }
  return images;
}

/// The first file whose content no unit has had. Files of used names come last: as a
/// rule they are used keys, which need not be read each time.
TakenKey nextKey(const Database& database, const QString& folder) {
  Statement ofName = database.prepare("SELECT 1 FROM keys WHERE file = ?");
  Statement ofContent = database.prepare("SELECT 1 FROM keys WHERE sha256 = ?");
  QStringList fresh;
  QStringList used;
  for (const QFileInfo& file : QDir(folder).entryInfoList(QDir::Files, QDir::Name)) {
    const QString path = file.absoluteFilePath();
    (ofName.with({sqlText(path)}).next() ? used : fresh) << path;
  }
  for (const QString& path : fresh + used) {
    const auto hash = device::hashOfFile(path, kMostKeyBytes);
    if (hash && !ofContent.with({sqlText(*hash)}).next()) {
      return {path, *hash};
    }
    // A used key may have been wiped.
    if (!hash && !used.contains(path)) {
      throw LedgerFailure(Kind::kRefused,
                          QStringLiteral("the key file %1 is empty, too large or cannot be read").arg(path));
    }
  }
  throw LedgerFailure(
      Kind::kExhausted,
      QStringLiteral("no unused key is left in %1 (%2 files)").arg(folder).arg(fresh.size() + used.size()));
}

constexpr const char* kKeysOfSerial =
    "SELECT keys.sha256 FROM keys JOIN attempts ON attempts.seq = keys.attempt "
    "WHERE attempts.serial = ? AND keys.sha256 NOT IN (SELECT sha256 FROM lost_keys) ORDER BY keys.seq";

void loseKeysOf(Ledger::State& state, const QString& serial, SqlValue attempt, const QString& reason) {
  std::vector<SqlValue> keys;
  Statement statement = state.database().prepare(kKeysOfSerial);
  statement.with({sqlText(serial)});
  while (statement.next()) {
    keys.push_back(statement.value(0));
  }
  for (const SqlValue& key : keys) {
    appendRow(state.database(), "lost_keys",
              {{"sha256", key}, {"attempt", attempt}, {"reason", sqlText(reason)}, {"lost", sqlText(state.now())}});
  }
}

/// Serial number and round of an attempt.
Attempt attemptOf(const Database& database, std::int64_t id) {
  Statement row = database.prepare("SELECT serial, round FROM attempts WHERE seq = ?");
  if (!row.with({id}).next()) {
    throw LedgerFailure(Kind::kRefused, QStringLiteral("there is no attempt %1").arg(id));
  }
  return {id, row.text(0), static_cast<int>(row.number(1))};
}

int roundOf(const Database& database, const QString& serial) {
  return static_cast<int>(database.number("SELECT count(*) FROM reworks WHERE serial = ?", {sqlText(serial)}));
}

void requireKnown(const Database& database, const QString& serial) {
  if (!isTaken(database, serial)) {
    throw LedgerFailure(Kind::kRefused, QStringLiteral("serial number %1 is not in the ledger").arg(serial));
  }
}

int appendRework(Ledger::State& state, const QString& serial, const QString& operatorName, const QString& reason) {
  const int round = roundOf(state.database(), serial) + 1;
  appendRow(state.database(), "reworks",
            {{"serial", sqlText(serial)},
             {"round", std::int64_t{round}},
             {"operator", sqlText(operatorName)},
             {"reason", sqlText(reason)},
             {"at", sqlText(state.now())}});
  return round;
}

void appendEnd(Ledger::State& state, const Attempt& attempt, const AttemptEnd& end) {
  appendRow(state.database(), "ends",
            {{"attempt", attempt.id},
             {"serial", sqlText(attempt.serial)},
             {"round", std::int64_t{attempt.round}},
             {"result", sqlText(nameOf(end.result))},
             {"reason", sqlTextOrNull(end.reason)},
             {"versions_before", sqlText(jsonOf(end.versionsBefore))},
             {"versions_after", sqlText(jsonOf(end.versionsAfter))},
             {"duration_ms", std::int64_t{end.duration.count()}},
             {"ended", sqlText(state.now())}});
}

}  // namespace

Ledger::Ledger(std::unique_ptr<State> state) : state_(std::move(state)) {}
Ledger::Ledger(Ledger&&) noexcept = default;
Ledger& Ledger::operator=(Ledger&&) noexcept = default;
Ledger::~Ledger() = default;

LedgerResult<Ledger> Ledger::open(const QString& path, LedgerAccess access, Clock clock) {
  const QString absolute = QFileInfo(path).absoluteFilePath();
  if (!clock) {
    clock = [] { return QDateTime::currentDateTimeUtc(); };
  }
  return guarded(absolute, {}, [&] {
    OpenedLedger opened = openLedger(absolute, access);
    if (access == LedgerAccess::kRead) {
      requireSoundEnd(opened.database, absolute);
    }
    return Ledger(std::make_unique<State>(State{absolute, std::move(opened), std::move(clock)}));
  });
}

QString Ledger::path() const { return state_->path; }
bool Ledger::isNew() const { return state_->opened.isNew; }
QString Ledger::copyOfOlder() const { return state_->opened.copyOfOlder; }

LedgerResult<Attempt> Ledger::begin(const Job& job, const AttemptStart& start) {
  return state_->change(aboutSerial(start.serial), [&] {
    Database& database = state_->database();
    const Chosen chosen =
        start.serial.isEmpty() ? nextSerial(database, job.serial) : givenSerial(database, job.serial, start.serial);
    const SqlValue now = sqlText(state_->now());
    if (!isTaken(database, chosen.serial)) {
      appendRow(database, "serials",
                {{"serial", sqlText(chosen.serial)},
                 {"source", std::string(chosen.source)},
                 {"counter", chosen.counter},
                 {"number", chosen.number},
                 {"station", sqlText(start.station)},
                 {"taken", now}});
    }
    int round = roundOf(database, chosen.serial);
    if (!start.rework.isEmpty() && hasPassed(database, chosen.serial, round)) {
      round = appendRework(*state_, chosen.serial, start.operatorName, start.rework);
    }
    const std::int64_t id = appendRow(database, "attempts",
                                      {{"serial", sqlText(chosen.serial)},
                                       {"round", std::int64_t{round}},
                                       {"job", sqlText(job.path)},
                                       {"job_sha256", sqlText(job.sha256)},
                                       {"model", sqlText(job.model)},
                                       {"images", sqlText(jsonOf(imagesOf(job)))},
                                       {"station", sqlText(start.station)},
                                       {"operator", sqlText(start.operatorName)},
                                       {"program", sqlText(start.program)},
                                       {"library", sqlText(start.library)},
                                       {"recording", sqlTextOrNull(start.recording)},
                                       {"started", now}});
    return Attempt{id, chosen.serial, round};
  });
}

LedgerResult<TakenKey> Ledger::takeKey(std::int64_t attempt, const QString& folder) {
  return state_->change(aboutAttempt(attempt), [&] {
    const Attempt of = attemptOf(state_->database(), attempt);
    TakenKey key = nextKey(state_->database(), folder);
    loseKeysOf(*state_, of.serial, attempt, QStringLiteral("another key was taken for the unit"));
    appendRow(state_->database(), "keys",
              {{"sha256", sqlText(key.sha256)},
               {"file", sqlText(key.path)},
               {"attempt", attempt},
               {"taken", sqlText(state_->now())}});
    return key;
  });
}

LedgerResult<> Ledger::loseKey(std::int64_t attempt, const QString& sha256, const QString& reason) {
  return state_->change(QStringLiteral("key %1").arg(sha256), [&] {
    appendRow(state_->database(), "lost_keys",
              {{"sha256", sqlText(sha256)},
               {"attempt", attempt},
               {"reason", sqlText(reason)},
               {"lost", sqlText(state_->now())}});
  });
}

LedgerResult<> Ledger::addStep(std::int64_t attempt, const StepRecord& step) {
  return state_->change(aboutAttempt(attempt), [&] {
    appendRow(state_->database(), "steps",
              {{"attempt", attempt},
               {"name", sqlText(step.name)},
               {"outcome", sqlText(nameOf(step.outcome))},
               {"evidence", sqlTextOrNull(step.evidence)},
               {"reason", sqlTextOrNull(step.reason)},
               {"tries", std::int64_t{step.tries}},
               {"duration_ms", std::int64_t{step.duration.count()}},
               {"details", sqlText(jsonOf(step.details))},
               {"at", sqlText(state_->now())}});
  });
}

LedgerResult<> Ledger::end(std::int64_t attempt, const AttemptEnd& end) {
  return state_->change(aboutAttempt(attempt),
                        [&] { appendEnd(*state_, attemptOf(state_->database(), attempt), end); });
}

LedgerResult<int> Ledger::rework(const QString& serial, const QString& operatorName, const QString& reason) {
  return state_->change(aboutSerial(serial), [&] {
    requireKnown(state_->database(), serial);
    return appendRework(*state_, serial, operatorName, reason);
  });
}

LedgerResult<> Ledger::scrap(const QString& serial, const QString& operatorName, const QString& reason) {
  return state_->change(aboutSerial(serial), [&] {
    requireKnown(state_->database(), serial);
    const std::int64_t open = state_->database().number(
        "SELECT attempts.seq FROM attempts LEFT JOIN ends ON ends.attempt = attempts.seq "
        "WHERE attempts.serial = ? AND ends.seq IS NULL",
        {sqlText(serial)});
    loseKeysOf(*state_, serial, {}, QStringLiteral("the unit was scrapped"));
    if (open != 0) {
      appendEnd(*state_, attemptOf(state_->database(), open), {UnitResult::kAborted, reason, {}, {}, {}});
    }
    appendRow(state_->database(), "scraps",
              {{"serial", sqlText(serial)},
               {"operator", sqlText(operatorName)},
               {"reason", sqlText(reason)},
               {"at", sqlText(state_->now())}});
  });
}

}  // namespace station
