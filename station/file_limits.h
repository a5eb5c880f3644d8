#pragma once

#include <QtGlobal>

namespace station {

/// The capture chip's flash holds no more, and the MCU far less.
inline constexpr qint64 kMostImageBytes = qint64{64} * 1024 * 1024;
inline constexpr qint64 kMostKeyBytes = qint64{1024} * 1024;

}  // namespace station
