// Two stations on one ledger: station_two_stations UNITS
// Starts itself twice; each process takes numbers and keys for that many units. No number
// or key may be used twice or lost.
#include "station/ledger_verify.h"
#include "station/report.h"
#include "tests/station/station_bench.h"

#include <QCoreApplication>
#include <QProcess>
#include <QSet>

#include <cstdio>
#include <memory>

using namespace station;

namespace {

const QByteArray kCounter = R"({"from": "count", "prefix": "L", "digits": 6})";

void work(const QString& folder, const QString& name, int units) {
  const auto job = readJob(StationBench::jobWith(kCounter), folder + "/line.json");
  Ledger ledger = StationBench::must(Ledger::open(folder + "/line.ledger", LedgerAccess::kWrite));
  for (int i = 0; i < units; ++i) {
    const Attempt attempt = StationBench::must(ledger.begin(*job, StationBench::start({}, name)));
    const TakenKey key = StationBench::must(ledger.takeKey(attempt.id, job->keyFolder));
    StationBench::must(ledger.addStep(attempt.id, {"key", StepOutcome::kDone, {}, {}, 1, {}, {}}));
    StationBench::must(ledger.end(attempt.id, {UnitResult::kPass, {}, {}, {}, {}}));
    std::printf("%s %s\n", qPrintable(attempt.serial), qPrintable(key.sha256));
  }
}

int fail(const char* what) {
  std::puts(what);
  return 1;
}

int runBoth(int units) {
  const StationBench bench;
  bench.makeKeys(2 * units);
  QSet<QByteArray> serials;
  QSet<QByteArray> keys;
  std::vector<std::unique_ptr<QProcess>> stations;
  for (const char* name : {"A", "B"}) {
    auto& process = stations.emplace_back(std::make_unique<QProcess>());
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->start(QCoreApplication::applicationFilePath(), {bench.path("."), name, QString::number(units)});
  }
  int lines = 0;
  for (const auto& process : stations) {
    if (!process->waitForFinished(100'000) || process->exitStatus() != QProcess::NormalExit ||
        process->exitCode() != 0) {
      return fail("a station did not come to its end");
    }
    for (const QByteArray& line : process->readAllStandardOutput().trimmed().split('\n')) {
      const QList<QByteArray> words = line.trimmed().split(' ');
      ++lines;
      serials << words.value(0);
      keys << words.value(1);
    }
  }
  if (lines != 2 * units || serials.size() != lines || keys.size() != lines) {
    return fail("a serial number or a key was given twice");
  }
  const Ledger ledger = bench.open(LedgerAccess::kRead);
  if (StationBench::must(statusOf(ledger, {})).passed != lines || !verifyLedger(bench.ledgerPath())->found.isEmpty()) {
    return fail("the ledger lacks something");
  }
  // None left out: the numbers start at 1 without a gap.
  if (!serials.contains(QByteArray("L") + QByteArray::number(lines).rightJustified(6, '0'))) {
    return fail("a serial number was left out");
  }
  std::printf("%d units at two stations, no number or key twice, none lost\n", lines);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const QStringList arguments = QCoreApplication::arguments();
  if (arguments.size() == 4) {
    work(arguments[1], arguments[2], arguments[3].toInt());
    return 0;
  }
  return runBoth(arguments.value(1).toInt());
}
