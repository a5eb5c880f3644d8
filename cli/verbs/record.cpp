#include "cli/failure.h"
#include "cli/interruption.h"
#include "cli/run.h"
#include "cli/verb.h"
#include "device/library_name.h"
#include "recorder/recording.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#ifndef _WIN32
#include <csignal>
#endif

namespace cli {
namespace {

// For programs that load the library themselves, as this one does.
constexpr const char* kLibraryVariable = "PELLAVOX_LIBRARY";

#ifdef _WIN32
constexpr const char* kNotUsed =
    "the program did not use the library put before it; on Windows, put it beside the "
    "program by hand";
#else
constexpr const char* kNotUsed = "the program did not use the device library";
#endif

std::filesystem::path pathOfText(const QString& text) { return text.toStdU16String(); }

/// Puts a library of ours before the one that a program would find.
QProcessEnvironment environmentWith(const char* folder) {
  const QString library =
      QDir(QCoreApplication::applicationDirPath()).filePath(QString(folder) + '/' + device::kLibraryName);
  if (!QFile::exists(library)) {
    throw Failure(ExitCode::kLibrary, QStringLiteral("%1 is missing").arg(library));
  }
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert(kLibraryVariable, library);
  const QString before = environment.value("LD_LIBRARY_PATH");
  environment.insert("LD_LIBRARY_PATH", QFileInfo(library).path() + (before.isEmpty() ? QString() : ':' + before));
  return environment;
}

#ifndef _WIN32
/// Ctrl-C at a terminal reaches the program as well, which may be in the middle of a change
/// and knows what to do.
class CtrlCLeftToProgram {
 public:
  CtrlCLeftToProgram() {
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGINT, &ignore, &before_);
  }
  Q_DISABLE_COPY_MOVE(CtrlCLeftToProgram)
  ~CtrlCLeftToProgram() { sigaction(SIGINT, &before_, nullptr); }

 private:
  struct sigaction before_ = {};
};
#else
struct CtrlCLeftToProgram {};
#endif

/// Waits for the program's end, however long it takes. A request to end is passed on to it, once.
void waitFor(QProcess& process) {
  constexpr int kSliceMs = 50;
  bool isAsked = false;
  while (process.state() != QProcess::NotRunning && !process.waitForFinished(kSliceMs)) {
    if (!isAsked && interruption::isRequested()) {
      isAsked = true;
      process.terminate();
    }
  }
}

/// Whether a program that did not end by itself was asked to end.
bool wasInterrupted([[maybe_unused]] const QProcess& process) {
#ifndef _WIN32
  if (process.exitCode() == SIGINT) {  // which is then the signal's number
    return true;
  }
#endif
  return interruption::isRequested();
}

/// Runs the program to its end, its input and output those of this one.
int runProgram(const QStringList& command, const QProcessEnvironment& environment) {
  QProcess process;
  process.setProcessEnvironment(environment);
  process.setProcessChannelMode(QProcess::ForwardedChannels);
  process.setInputChannelMode(QProcess::ForwardedInputChannel);
  process.start(command.first(), command.mid(1));
  if (!process.waitForStarted(-1)) {
    throw Failure(ExitCode::kFailed, QStringLiteral("cannot start %1").arg(command.first()));
  }
  // Not before: the program would inherit it.
  [[maybe_unused]] const CtrlCLeftToProgram ctrlC;
  waitFor(process);
  if (process.exitStatus() != QProcess::NormalExit) {
    throw wasInterrupted(process)
        ? Failure(ExitCode::kInterrupted, QStringLiteral("interrupted; %1 was ended").arg(command.first()))
        : Failure(ExitCode::kFailed, QStringLiteral("%1 crashed").arg(command.first()));
  }
  return process.exitCode();
}

/// Whether the recorder can make its file. Where it cannot, it says so itself, and the
/// program is to run all the same.
bool canBeMade(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::WriteOnly | QIODevice::NewOnly) && file.remove();
}

void record(Run& run, const Arguments& arguments) {
  if (run.options().dryRun) {
    throw Failure(ExitCode::kUsage, "record has no dry run: give -n to the program that it runs");
  }
  const QString file = QFileInfo(arguments.text("output")).absoluteFilePath();
  if (const unsigned part = recorder::firstPartOf(pathOfText(file)); part != 0) {
    const std::string taken = recorder::utf8Of(recorder::partOf(pathOfText(file), part));
    throw Failure(ExitCode::kRefused, QStringLiteral("%1 exists already").arg(QString::fromStdString(taken)));
  }
  QProcessEnvironment environment = environmentWith("recorder");
  environment.insert("PELLAVOX_RECORDING", file);
  environment.insert("PELLAVOX_RECORDED_LIBRARY",
                     run.options().library.isEmpty() ? run.console().library : run.options().library);
  if (arguments.has("redact")) {
    environment.insert("PELLAVOX_RECORDING_REDACTED", "1");
  }
  if (arguments.has("audit")) {
    environment.insert("PELLAVOX_RECORDING_AUDIT", "1");
  }
  const bool isExpected = canBeMade(file);
  const int code = runProgram(arguments.list("PROGRAM"), environment);
  // The first parts of a long recording are gone.
  if (isExpected && recorder::firstPartOf(pathOfText(file)) == 0 && !interruption::isRequested()) {
    throw Failure(ExitCode::kLibrary, kNotUsed);
  }
  run.setExitCode(static_cast<ExitCode>(code));
}

/// What the processes of a program reported about their replays.
struct ReplayReports {
  int begun = 0;
  int complete = 0;
  QString unusable;         ///< why the recording is, if it is
  QStringList differences;  ///< their lines
};

ReplayReports readReports(const QByteArray& text) {
  ReplayReports reports;
  for (const QString& line : QString::fromUtf8(text).split('\n', Qt::SkipEmptyParts)) {
    if (line.startsWith("begun: ")) {
      ++reports.begun;
    } else if (line.startsWith("complete: ")) {
      ++reports.complete;
    } else if (line.startsWith("unusable: ")) {
      reports.unusable = line.section(' ', 1);
    } else {
      reports.differences.append(line);
    }
  }
  return reports;
}

/// @throws Failure unless all processes replayed the whole recording
void judgeReplay(Run& run, const ReplayReports& reports) {
  if (!reports.unusable.isEmpty()) {
    throw Failure(ExitCode::kRefused, reports.unusable);
  }
  const bool isWhole = reports.differences.isEmpty() && reports.complete == reports.begun;
  if (isWhole && reports.begun > 0) {
    return;
  }
  if (interruption::isRequested()) {
    throw Failure(ExitCode::kInterrupted, "interrupted before the end of the recording");
  }
  if (isWhole) {
    throw Failure(ExitCode::kLibrary, kNotUsed);
  }
  for (const QString& line : reports.differences) {
    run.hint(line);
  }
  if (reports.differences.isEmpty()) {
    run.hint("a process of the program ended suddenly during the replay");
  }
  throw Failure(ExitCode::kDifference, "the program did not do what was recorded");
}

void replay(Run& run, const Arguments& arguments) {
  // Here already, for a program that never asks for the device library.
  const auto recording = recorder::walkRecording(pathOfText(arguments.text("FILE")), [](auto, auto&&) {});
  if (!recording) {
    throw Failure(ExitCode::kRefused, QString::fromStdString(recording.error().text()));
  }
  const QTemporaryDir folder;
  const QString reportFile = folder.filePath("report");
  QProcessEnvironment environment = environmentWith("replay");
  environment.insert("PELLAVOX_REPLAY", QFileInfo(arguments.text("FILE")).absoluteFilePath());
  environment.insert("PELLAVOX_REPLAY_REPORT", reportFile);
  if (arguments.has("recorded-speed")) {
    environment.insert("PELLAVOX_REPLAY_SPEED", "recorded");
  }
  const int code = runProgram(arguments.list("PROGRAM"), environment);
  QFile reports(reportFile);
  // There is none when no process used the library.
  judgeReplay(run, readReports(reports.open(QIODevice::ReadOnly) ? reports.readAll() : QByteArray()));
  run.setExitCode(static_cast<ExitCode>(code));
}

}  // namespace

Command recordVerb() {
  using Takes = Option::Takes;
  return {"record",
          "Run a program and record what it does with the device library; ends with the program's exit code",
          {{"-o,--output", "The recording; must not exist", Takes::kValue, "FILE", {}, true},
           {"--redact", "Leave out serial numbers and firmware"},
           {"--audit", "Watch the library's writes and times; audit-*.json beside the recording"},
           {"PROGRAM", "The program and its arguments, after --", Takes::kValues, "", {}, true}},
          {},
          record};
}

Command replayVerb() {
  using Takes = Option::Takes;
  return {"replay",
          "Run a program on a recording instead of a device; ends with the program's exit code, or 11",
          {{"FILE", "The recording", Takes::kValue, "", {}, true},
           {"--recorded-speed", "Let calls take as long as they did"},
           {"PROGRAM", "The program and its arguments, after --", Takes::kValues, "", {}, true}},
          {},
          replay};
}

}  // namespace cli
