/// @file
/// Two stations, each the complete program with its own simulated device, on one ledger at
/// the same time: no serial number or key is used twice or lost.
/// Usage: station_two_programs [COUNT]
#include "tests/support/test_files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QProcess>
#include <QSet>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

struct Station {
  QString name;
  QString model;
  std::unique_ptr<QProcess> process = std::make_unique<QProcess>();
};

class TwoPrograms : private TestFiles {
 public:
  explicit TwoPrograms(int count) : count_(count) {
    QDir(folder()).mkpath("keys");
    for (int i = 1; i <= 2 * count; ++i) {
      write(QStringLiteral("keys/%1.key").arg(i, 5, 10, QLatin1Char('0')), "key " + QByteArray::number(i));
    }
  }

  void run() {
    Station stations[] = {{"A", "KVR-7"}, {"B", "KVR-5B"}};
    for (Station& station : stations) {
      start(station);
    }
    for (Station& station : stations) {
      finish(station);
    }
    if (breaches_ == 0) {
      judgeLedger();
    }
    std::printf("%s: %d units at two stations at once: %d shown, %d passed, %d serial numbers, %d keys; %d breaches\n",
                breaches_ == 0 ? "good" : "BAD", 2 * count_, shown_.size(), passed_, serials_.size(), keys_.size(),
                breaches_);
  }
  int breaches() const { return breaches_; }

 private:
  void breach(const QString& what) {
    ++breaches_;
    std::printf("breach: %s\n", qPrintable(what));
  }

  /// Units that are plugged in and unplugged automatically.
  QByteArray scenario(const Station& station) const {
    QJsonArray units;
    for (int i = 1; i <= count_; ++i) {
      units.append(
          QJsonObject{{"identity", QJsonObject{{"serialNumber", QStringLiteral("FAB-%1-%2").arg(station.name).arg(i)}}},
                      {"model", station.model},
                      {"unplugAfterIdleMs", 600}});
    }
    return QJsonDocument(QJsonObject{{"speedFactor", 1000}, {"nextUnitAfterMs", 20}, {"units", units}}).toJson();
  }

  QByteArray job(const Station& station) const {
    const auto step = [](const char* name) { return QJsonObject{{"do", name}}; };
    return QJsonDocument(QJsonObject{{"format", "pellavox station job 1"},
                                     {"model", station.model},
                                     {"serial", QJsonObject{{"from", "count"}, {"prefix", "LN"}, {"digits", 6}}},
                                     {"edid", QJsonObject{{"mode", "mixed"}, {"slot", 2}}},
                                     {"keys", "keys"},
                                     {"steps", QJsonArray{step("serial"), step("key"), step("edid")}}})
        .toJson();
  }

  void start(Station& station) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("RTICE_SIMULATOR_SCENARIO", write("units-" + station.name + ".json", scenario(station)));
    station.process->setProcessEnvironment(environment);
    station.process->start(PROGRAM, {"-j", "-q", "station", "run", write("job-" + station.name + ".json", job(station)),
                                     "--operator", "Ann", "--station", station.name, "--ledger", path("line.ledger"),
                                     "--count", QString::number(count_)});
  }

  void finish(Station& station) {
    const int timeout = 60'000 + 5'000 * count_;
    QProcess& process = *station.process;
    if (!process.waitForFinished(timeout) || process.exitStatus() != QProcess::NormalExit) {
      return breach("station " + station.name + " did not come to its end: " + process.readAllStandardError());
    }
    const QJsonObject document = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
    const QJsonArray units = document["units"].toArray();
    if (units.size() != count_) {
      breach(QStringLiteral("station %1 worked on %2 units: %3")
                 .arg(station.name)
                 .arg(units.size())
                 .arg(QString::fromUtf8(process.readAllStandardError())));
    }
    for (const QJsonValue& unit : units) {
      const QString serial = unit["serialNumber"].toString();
      if (shown_.contains(serial)) {
        breach(serial + " was given twice");
      }
      shown_[serial] = station.name + ' ' + unit["result"].toString();
      if (unit["result"] != "PASS") {
        breach(serial + ": " + unit["result"].toString() + ", " + unit["reason"].toString());
      }
    }
  }

  QByteArray ask(const QStringList& arguments) {
    QProcess process;
    process.start(PROGRAM, arguments);
    if (!process.waitForFinished(60'000) || process.exitCode() != 0) {
      breach(arguments.join(' ') + ": " + process.readAllStandardOutput() + process.readAllStandardError());
    }
    return process.readAllStandardOutput();
  }

  void judgeLedger() {
    const QStringList ledger{"--ledger", path("line.ledger")};
    const QByteArray exported = ask(QStringList{"station", "export", "--json"} + ledger);
    const QJsonArray attempts = QJsonDocument::fromJson(exported).object()["attempts"].toArray();
    for (const QJsonValue& attempt : attempts) {
      const QString serial = attempt["serial"].toString();
      serials_ << serial;
      passed_ += attempt["result"] == "PASS" ? 1 : 0;
      if (attempt["station"].toString() + ' ' + attempt["result"].toString() != shown_.value(serial)) {
        breach(serial + " is another's in the ledger than the station showed");
      }
      const QJsonArray keys = attempt["keys"].toArray();
      for (const QJsonValue& key : keys) {
        keys_ << key["sha256"].toString();
      }
    }
    if (attempts.size() != 2 * count_ || serials_.size() != attempts.size() || keys_.size() != attempts.size()) {
      breach("an attempt, a serial number or a key is there twice, or is lost");
    }
    for (int i = 1; i <= 2 * count_; ++i) {
      const QString serial = QStringLiteral("LN%1").arg(i, 6, 10, QLatin1Char('0'));
      if (!serials_.contains(serial)) {
        breach(serial + " was left out");
      }
    }
    ask(QStringList{"station", "verify"} + ledger);
  }

  int count_;
  int breaches_ = 0;
  int passed_ = 0;
  QMap<QString, QString> shown_;  // serial number: station and result
  QSet<QString> serials_;
  QSet<QString> keys_;
};

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const int count = argc > 1 ? std::atoi(argv[1]) : 200;
  if (count < 1) {
    std::fputs("Usage: station_two_programs [COUNT]\n", stderr);
    return 2;
  }
  TwoPrograms campaign(count);
  campaign.run();
  return campaign.breaches() == 0 ? 0 : 1;
}
