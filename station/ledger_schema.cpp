#include "station/ledger_schema.h"

#include <algorithm>
#include <array>

namespace station {
namespace {

constexpr std::array<std::string_view, 8> kTables{"serials", "attempts", "keys",    "lost_keys",
                                                  "steps",   "ends",     "reworks", "scraps"};

// Each row of the others: its place in the chain, the hash of the row before, its own.
constexpr const char* kTableDefinitions = R"sql(
CREATE TABLE head (
  only INTEGER PRIMARY KEY CHECK (only = 1),
  seq INTEGER NOT NULL,
  hash BLOB NOT NULL
) STRICT;
INSERT INTO head VALUES (1, 0, zeroblob(32));

CREATE TABLE serials (
  seq INTEGER PRIMARY KEY, before BLOB NOT NULL, hash BLOB NOT NULL,
  serial TEXT NOT NULL UNIQUE CHECK (length(serial) BETWEEN 1 AND 16),
  source TEXT NOT NULL CHECK (source IN ('scan', 'list', 'count')),
  counter TEXT,
  number INTEGER,
  station TEXT NOT NULL,
  taken TEXT NOT NULL,
  UNIQUE (counter, number)
) STRICT;

CREATE TABLE attempts (
  seq INTEGER PRIMARY KEY, before BLOB NOT NULL, hash BLOB NOT NULL,
  serial TEXT NOT NULL REFERENCES serials (serial),
  round INTEGER NOT NULL,
  job TEXT NOT NULL,
  job_sha256 TEXT NOT NULL,
  model TEXT NOT NULL,
  images TEXT NOT NULL,
  station TEXT NOT NULL,
  operator TEXT NOT NULL,
  program TEXT NOT NULL,
  library TEXT NOT NULL,
  recording TEXT,
  started TEXT NOT NULL,
  UNIQUE (seq, serial, round)
) STRICT;
CREATE INDEX attempts_by_serial ON attempts (serial);
CREATE INDEX attempts_by_station ON attempts (station);

CREATE TABLE keys (
  seq INTEGER PRIMARY KEY, before BLOB NOT NULL, hash BLOB NOT NULL,
  sha256 TEXT NOT NULL UNIQUE,
  file TEXT NOT NULL,
  attempt INTEGER NOT NULL REFERENCES attempts (seq),
  taken TEXT NOT NULL
) STRICT;
CREATE INDEX keys_by_attempt ON keys (attempt);
CREATE INDEX keys_by_file ON keys (file);

CREATE TABLE lost_keys (
  seq INTEGER PRIMARY KEY, before BLOB NOT NULL, hash BLOB NOT NULL,
  sha256 TEXT NOT NULL UNIQUE REFERENCES keys (sha256),
  attempt INTEGER REFERENCES attempts (seq),
  reason TEXT NOT NULL,
  lost TEXT NOT NULL
) STRICT;

CREATE TABLE steps (
  seq INTEGER PRIMARY KEY, before BLOB NOT NULL, hash BLOB NOT NULL,
  attempt INTEGER NOT NULL REFERENCES attempts (seq),
  name TEXT NOT NULL,
  outcome TEXT NOT NULL CHECK (outcome IN ('done', 'skipped', 'failed')),
  evidence TEXT,
  reason TEXT,
  tries INTEGER NOT NULL,
  duration_ms INTEGER NOT NULL,
  details TEXT NOT NULL,
  at TEXT NOT NULL
) STRICT;
CREATE INDEX steps_by_attempt ON steps (attempt);

CREATE TABLE ends (
  seq INTEGER PRIMARY KEY, before BLOB NOT NULL, hash BLOB NOT NULL,
  attempt INTEGER NOT NULL UNIQUE,
  serial TEXT NOT NULL,
  round INTEGER NOT NULL,
  result TEXT NOT NULL CHECK (result IN ('PASS', 'FAIL', 'ERROR', 'TIMEOUT', 'ABORTED')),
  reason TEXT,
  versions_before TEXT NOT NULL,
  versions_after TEXT NOT NULL,
  duration_ms INTEGER NOT NULL,
  ended TEXT NOT NULL,
  FOREIGN KEY (attempt, serial, round) REFERENCES attempts (seq, serial, round)
) STRICT;
CREATE UNIQUE INDEX one_pass_a_round ON ends (serial, round) WHERE result = 'PASS';

CREATE TABLE reworks (
  seq INTEGER PRIMARY KEY, before BLOB NOT NULL, hash BLOB NOT NULL,
  serial TEXT NOT NULL REFERENCES serials (serial),
  round INTEGER NOT NULL,
  operator TEXT NOT NULL,
  reason TEXT NOT NULL,
  at TEXT NOT NULL,
  UNIQUE (serial, round)
) STRICT;

CREATE TABLE scraps (
  seq INTEGER PRIMARY KEY, before BLOB NOT NULL, hash BLOB NOT NULL,
  serial TEXT NOT NULL UNIQUE REFERENCES serials (serial),
  operator TEXT NOT NULL,
  reason TEXT NOT NULL,
  at TEXT NOT NULL
) STRICT;

CREATE TRIGGER attempts_one_at_a_time BEFORE INSERT ON attempts
WHEN EXISTS (SELECT 1 FROM attempts LEFT JOIN ends ON ends.attempt = attempts.seq
             WHERE attempts.serial = NEW.serial AND ends.seq IS NULL)
BEGIN SELECT RAISE(ABORT, 'has an attempt under way'); END;

CREATE TRIGGER attempts_not_after_scrap BEFORE INSERT ON attempts
WHEN EXISTS (SELECT 1 FROM scraps WHERE serial = NEW.serial)
BEGIN SELECT RAISE(ABORT, 'was scrapped'); END;

CREATE TRIGGER attempts_not_after_pass BEFORE INSERT ON attempts
WHEN EXISTS (SELECT 1 FROM ends WHERE serial = NEW.serial AND round = NEW.round AND result = 'PASS')
BEGIN SELECT RAISE(ABORT, 'has passed already'); END;

CREATE TRIGGER attempts_of_this_round BEFORE INSERT ON attempts
WHEN NEW.round <> (SELECT count(*) FROM reworks WHERE serial = NEW.serial)
BEGIN SELECT RAISE(ABORT, 'is in another round'); END;

CREATE TRIGGER reworks_after_pass BEFORE INSERT ON reworks
WHEN NOT EXISTS (SELECT 1 FROM ends WHERE serial = NEW.serial AND round = NEW.round - 1 AND result = 'PASS')
BEGIN SELECT RAISE(ABORT, 'has not passed, so that there is nothing to rework'); END;

CREATE TRIGGER steps_before_end BEFORE INSERT ON steps
WHEN EXISTS (SELECT 1 FROM ends WHERE attempt = NEW.attempt)
BEGIN SELECT RAISE(ABORT, 'has ended already'); END;

CREATE TRIGGER keys_before_end BEFORE INSERT ON keys
WHEN EXISTS (SELECT 1 FROM ends WHERE attempt = NEW.attempt)
BEGIN SELECT RAISE(ABORT, 'has ended already'); END;

CREATE TRIGGER head_moves_on BEFORE UPDATE ON head
WHEN NEW.only <> 1 OR NEW.seq <> OLD.seq + 1
BEGIN SELECT RAISE(ABORT, 'the chain only grows'); END;
CREATE TRIGGER head_stays BEFORE DELETE ON head
BEGIN SELECT RAISE(ABORT, 'the chain only grows'); END;
CREATE TRIGGER head_is_one BEFORE INSERT ON head
BEGIN SELECT RAISE(ABORT, 'the chain only grows'); END;
)sql";

std::string replaced(std::string text, std::string_view table) {
  for (std::size_t at = text.find('%'); at != std::string::npos; at = text.find('%', at)) {
    text.replace(at, 1, table);
  }
  return text;
}

// What holds for each table of the chain; % stands for its name.
constexpr const char* kChainRules = R"sql(
CREATE TRIGGER %_unchanged BEFORE UPDATE ON %
BEGIN SELECT RAISE(ABORT, 'rows are never changed'); END;
CREATE TRIGGER %_kept BEFORE DELETE ON %
BEGIN SELECT RAISE(ABORT, 'rows are never removed'); END;
CREATE TRIGGER %_behind_the_last BEFORE INSERT ON %
WHEN NEW.seq IS NOT (SELECT seq + 1 FROM head) OR NEW.before IS NOT (SELECT hash FROM head)
BEGIN SELECT RAISE(ABORT, 'not behind the last row'); END;
CREATE TRIGGER %_moves_head AFTER INSERT ON %
BEGIN UPDATE head SET seq = NEW.seq, hash = NEW.hash; END;
)sql";

}  // namespace

std::span<const Migration> migrations() { return {}; }

std::span<const std::string_view> chainedTables() { return kTables; }

void createLedgerTables(Database& database) {
  database.run(kTableDefinitions);
  for (const std::string_view table : kTables) {
    database.run(replaced(kChainRules, table));
  }
  database.run("PRAGMA application_id = " + std::to_string(kLedgerApplicationId));
  database.run("PRAGMA user_version = " + std::to_string(kFirstLedgerFormat));
}

std::vector<std::string> structureOf(const Database& database) {
  std::vector<std::string> lines;
  Statement parts = database.prepare("SELECT type || ' ' || name || ': ' || coalesce(sql, '') FROM sqlite_master");
  while (parts.next()) {
    lines.push_back(parts.text(0).toStdString());
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

}  // namespace station
