#pragma once

#include "station/job.h"

#include <QByteArray>
#include <QString>
#include <tl/expected.hpp>

#include <cstdint>
#include <map>

namespace station {

/// Content of a job's files, read once and checked against the job's hashes, so
/// that a file that is replaced during a shift changes no unit.
struct UnitFiles {
  QByteArray mcu;                           ///< empty when the job has no such image
  std::map<std::uint8_t, QByteArray> edid;  ///< by slot
};

/// @return or what is wrong, one line
tl::expected<UnitFiles, QString> readUnitFiles(const Job& job);

/// Holds a file that the device library reads by itself against its hash.
/// @return what is wrong, one line; empty = nothing
QString mistakeInFile(const QString& path, const QString& sha256);

}  // namespace station
