#pragma once

#include "station/job.h"

#include <QString>

#include <cstdint>
#include <optional>

/// What job files call things.
namespace station {

QString nameOf(SerialSource source);

std::optional<Step> stepOf(const QString& name);
std::optional<Compared> comparedOf(const QString& name);
std::optional<SerialSource> serialSourceOf(const QString& name);

/// The mode as `edid::setMode` takes it.
std::optional<std::uint8_t> edidModeOf(const QString& name);
QString edidModeName(std::uint8_t mode);

}  // namespace station
