#include "cli/device_session.h"

#include "cli/call_log.h"
#include "cli/failure.h"
#include "gate/gate.h"
#include "session/connection.h"

#include <QDir>

#include <tuple>

namespace cli {
namespace {

using namespace std::chrono_literals;

constexpr auto kTryAgainAfter = 100ms;

QString hexId(std::uint32_t id) { return QStringLiteral("%1").arg(id, 4, 16, QLatin1Char('0')).toUpper(); }

QString idText(const device::UsbIds& ids) { return hexId(ids.vid) + ':' + hexId(ids.pid); }

/// @param problem what the library says of it itself; empty = nothing
Failure notOpened(const session::OpenFailure& reason, const Globals& options, const QString& problem) {
  static constexpr const char* kSteps[] = {"initialize", "setDevice", "openPort"};
  const QString status = QStringLiteral("%1 returned status %2")
                             .arg(QLatin1String(kSteps[static_cast<std::size_t>(reason.step)]))
                             .arg(reason.status);
  Failure failure(ExitCode::kNoDevice,
                  QStringLiteral("cannot open %1 (%2): %3")
                      .arg(options.model, idText(options.ids), problem.isEmpty() ? status : problem));
  failure.details.set("step", kSteps[static_cast<std::size_t>(reason.step)]);
  failure.details.set("status", reason.status);
  return failure;
}

void showProblems(const Run& run) {
  gate::tellProblemsTo([err = run.console().err](const std::string& line) {
    err("pellavox-cli: " + QByteArray::fromStdString(line) + '\n');
  });
}

}  // namespace

QString libraryFile(const Run& run) {
  return run.options().library.isEmpty() ? run.console().library : run.options().library;
}

void loadLibrary(Run& run) {
  const QString file = libraryFile(run);
  const auto loaded = gate::load(std::filesystem::path(file.toStdU16String()));
  if (!loaded) {
    Failure failure(ExitCode::kLibrary, QString::fromStdString(loaded.error().text()));
    failure.details.set("file", file);
    failure.details.set("operation",
                        loaded.error().operation.empty() ? Value() : Value(loaded.error().operation.c_str()));
    throw failure;
  }
  gate::refuseChanges(run.options().dryRun);
  showProblems(run);
  observeCalls(run);
}

QString lockFile(const Run& run) {
  return QDir(run.console().lockFolder)
      .filePath(QStringLiteral("pellavox-%1.lock").arg(idText(run.options().ids).replace(':', '-')));
}

DeviceHold::DeviceHold(Run& run, std::chrono::steady_clock::time_point deadline) {
  run.stopIfInterrupted();
  loadLibrary(run);
  lock_ = std::make_unique<DeviceLock>(lockFile(run));
  for (auto result = lock_->tryLock(); result != DeviceLock::Result::kLocked; result = lock_->tryLock()) {
    if (result == DeviceLock::Result::kFailed) {
      throw Failure(ExitCode::kFailed, QStringLiteral("cannot make the lock %1").arg(lockFile(run)));
    }
    if (run.console().now() >= deadline) {
      const DeviceLock::Owner owner = lock_->owner();
      Failure failure(ExitCode::kInUse, QStringLiteral("%1 is in use by %2 (process %3)")
                                            .arg(run.options().model,
                                                 owner.program.isEmpty() ? QString("another program") : owner.program)
                                            .arg(owner.process));
      failure.details.set("process", owner.process);
      failure.details.set("program", owner.program);
      throw failure;
    }
    run.stopIfInterrupted();
    run.console().pause(kTryAgainAfter);
  }
}

DeviceHold::~DeviceHold() {
  gate::observe({});
  gate::tellProblemsTo({});
  gate::refuseChanges(false);
}

DeviceSession::DeviceSession(Run& run)
    : run_(run), deadline_(run.console().now() + run.options().wait.value_or(0ms)), hold_(run, deadline_) {
  open();
}

DeviceSession::~DeviceSession() {
  if (isOpen_) {
    std::ignore = session::closeSession();
    std::ignore = session::releaseLibrary();
  }
}

void DeviceSession::open() {
  // Told in the one line that ends the command. The library says it at the first try only.
  const auto problem = std::make_shared<QString>();
  gate::tellProblemsTo([problem](const std::string& line) { *problem = QString::fromStdString(line); });
  while (true) {
    const auto opened = session::openSession(run_.options().ids);
    if (opened) {
      showProblems(run_);
      isOpen_ = true;
      return;
    }
    if (run_.console().now() >= deadline_) {
      throw notOpened(opened.error(), run_.options(), *problem);
    }
    run_.stopIfInterrupted();
    run_.console().pause(kTryAgainAfter);
  }
}

void DeviceSession::reopen(std::chrono::milliseconds within) {
  std::ignore = session::closeSession();
  std::ignore = session::releaseLibrary();
  isOpen_ = false;
  deadline_ = run_.console().now() + within;
  open();
}

}  // namespace cli
