#include "cli/call_log.h"

#include "cli/failure.h"
#include "cli/run.h"
#include "device/printable.h"
#include "device/regular_file.h"
#include "gate/gate.h"

#include <QDateTime>
#include <QFile>

#include <memory>

namespace cli {
namespace {

QString callText(const device::OperationDescription& operation, std::int32_t result,
                 std::chrono::nanoseconds duration) {
  return QStringLiteral("%1 -> %2 (%3 ms)")
      .arg(QLatin1String(operation.name.data()))
      .arg(result)
      .arg(static_cast<double>(duration.count()) / 1e6, 0, 'f', 3);
}

}  // namespace

void observeCalls(const Run& run) {
  const Globals& options = run.options();
  std::shared_ptr<QFile> file;
  if (!options.logFile.isEmpty()) {
    // Opening a pipe would wait for somebody who reads.
    if (device::isOtherThanFile(options.logFile)) {
      throw Failure(ExitCode::kUsage, QStringLiteral("cannot write the log %1: it is no file").arg(options.logFile));
    }
    file = std::make_shared<QFile>(options.logFile);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
      throw Failure(ExitCode::kUsage,
                    QStringLiteral("cannot write the log %1: %2").arg(options.logFile, file->errorString()));
    }
  }
  if (!file && !options.verbose) {
    gate::observe({});
    return;
  }
  gate::observe([file, err = run.console().err, isVerbose = options.verbose](
                    const device::OperationDescription& operation, std::int32_t result,
                    std::chrono::nanoseconds duration) {
    const QString line = callText(operation, result, duration);
    if (isVerbose) {
      err(line.toUtf8() + '\n');
    }
    if (file && file->isOpen()) {
      const QString time = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
      const QByteArray entry = QStringLiteral("%1 %2\n").arg(time, line).toUtf8();
      if (file->write(entry) != entry.size()) {
        err(device::printable(
                QStringLiteral("pellavox-cli: the log %1 is incomplete: %2").arg(file->fileName(), file->errorString()))
                .toUtf8() +
            '\n');
        file->close();
      }
    }
  });
}

}  // namespace cli
