#pragma once

#include <QFile>

#include <optional>

/// Peak physical memory of the process in KiB, if the system reports it.
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
