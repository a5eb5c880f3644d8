#include "cli/call_log.h"

#include "cli/failure.h"
#include "cli/run.h"
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
    if (!file->open(QIODevice::WriteOnly | QIODevice::Append)) {
      throw Failure(ExitCode::kUsage,
                    QStringLiteral("cannot write the log %1: %2").arg(options.logFile, file->errorString()));
    }
  }
  if (!file && !options.verbose) {
    gate::observe({});
    return;
  }
  const auto err = options.verbose ? run.console().err : std::function<void(const QByteArray&)>();
  gate::observe([file, err](const device::OperationDescription& operation, std::int32_t result,
                            std::chrono::nanoseconds duration) {
    const QString line = callText(operation, result, duration);
    if (err) {
      err(line.toUtf8() + '\n');
    }
    if (file) {
      const QString time = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
      file->write(QStringLiteral("%1 %2\n").arg(time, line).toUtf8());
      file->flush();
    }
  });
}

}  // namespace cli
