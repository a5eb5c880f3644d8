#pragma once

#include "station/job.h"

#include <QByteArray>
#include <QStringList>
#include <tl/expected.hpp>

namespace station {

/// One thing wrong with a job or a file that it names.
struct Mistake {
  QString file;   ///< the file it is in
  QString place;  ///< JSON pointer such as "/serial/pattern", or "line 3"; empty = the file as a whole
  QString text;   ///< what is wrong and how to mend it, one clause without a full stop

  /// "FILE: PLACE: TEXT"
  QString line() const;
};
using Mistakes = std::vector<Mistake>;

/// Reads a job file and checks it against station/job.schema.json and against what
/// no schema can say. Files that it names are not looked at: `checkJob` does that.
/// @return the job, or all mistakes found, one at least
tl::expected<Job, Mistakes> readJob(const QString& path);

/// The same for the bytes of a job file.
/// @param path what mistakes call the file; names in it are relative to its folder
tl::expected<Job, Mistakes> readJob(const QByteArray& bytes, const QString& path);

/// What is wrong with a serial number under this job, one clause; empty = nothing.
QString mistakeInSerialNumber(const QString& serial, const SerialRule& rule);

/// The lines of a serial list, without blank ones.
/// @return the lines, or why they cannot be read
tl::expected<QStringList, Mistake> readSerialList(const QString& path);

/// The ledger beside a job file: its name with ".ledger" for ".json".
QString defaultLedgerPath(const QString& jobPath);

}  // namespace station
