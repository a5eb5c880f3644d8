#pragma once

#include "station/job_reader.h"
#include "station/ledger.h"
#include "tests/support/test_files.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

/// A folder with job, keys and ledger, and shortcuts to work with them.
class StationBench : public TestFiles {
 public:
  QString ledgerPath() const { return path("line.ledger"); }

  /// Writes keys "key 1", "key 2", ... to files that sort in that order.
  void makeKeys(int count) const {
    QDir(path("")).mkpath("keys");
    for (int i = 1; i <= count; ++i) {
      write(QStringLiteral("keys/key%1").arg(i, 4, 10, QChar(48)), QStringLiteral("key %1").arg(i).toUtf8());
    }
  }

  static QByteArray jobWith(const QByteArray& serial) {
    return R"({"format": "pellavox station job 1", "model": "KVR-7", "serial": )" + serial +
           R"(, "keys": "keys", "steps": [{"do": "key"}, {"do": "serial"}]})";
  }
  station::Job job(const QByteArray& serial = R"({"from": "scan"})") const {
    auto read = station::readJob(jobWith(serial), path("line.json"));
    if (!read) {
      qFatal("%s", qPrintable(read.error().front().line()));
    }
    return *std::move(read);
  }

  static station::AttemptStart start(const QString& serial = {}, const QString& station = "A") {
    return {serial, station, "Ann", "pellavox-cli 1.03", "libRTICE_SDK_x64.so", {}};
  }

  /// The value of a result, which must be there.
  template <typename T>
  static T must(tl::expected<T, station::LedgerError> result) {
    if (!result) {
      qFatal("%s", qPrintable(result.error().message));
    }
    if constexpr (!std::is_void_v<T>) {
      return *std::move(result);
    }
  }

  station::Ledger open(station::LedgerAccess access = station::LedgerAccess::kWrite) const {
    return must(station::Ledger::open(ledgerPath(), access));
  }
};
