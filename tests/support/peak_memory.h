#pragma once

#include <QFile>

#include <optional>

/// The largest amount of physical memory that the process has had at once, in
/// KiB, where the system tells.
inline std::optional<long> peakMemoryKiB() {
  QFile status(QStringLiteral("/proc/self/status"));
  if (status.open(QIODevice::ReadOnly)) {
    for (const QByteArray& line : status.readAll().split('\n')) {
      if (line.startsWith("VmHWM:")) {
        return line.mid(6).simplified().split(' ').first().toLong();
      }
    }
  }
  return std::nullopt;
}
