#include "cli/device_session.h"
#include "cli/failure.h"
#include "cli/readings.h"
#include "cli/result_file.h"
#include "cli/verb.h"
#include "cli/version.h"
#include "device/file_hash.h"
#include "device/operations.h"

#include <QFileInfo>
#include <QSysInfo>

namespace cli {
namespace {

QString libraryPath(const Run& run) {
  return run.options().library.isEmpty() ? run.console().library : run.options().library;
}

Value libraryHash(const QString& path) {
  const auto hash = device::hashOfFile(path);
  return hash ? Value(*hash) : Value();
}

Document examineLibrary(Run& run) {
  const QString path = libraryPath(run);
  Document document("doctor");
  document.add("file", "File", QFileInfo(path).fileName());
  document.add("folder", "Folder", QFileInfo(path).absolutePath());
  const auto yesOrNo = [](bool is) { return QString(is ? "yes" : "no"); };
  const QFileInfo file(path);
  document.add("exists", "Exists", file.exists(), yesOrNo(file.exists()));
  document.add("readable", "Readable", file.isReadable(), yesOrNo(file.isReadable()));
  document.add("sha256", "SHA-256", libraryHash(path));
  return document;
}

Document examineSystem() {
  Document document("doctor");
  document.add("program", "Program", kVersionText);
  document.add("system", "System", QSysInfo::prettyProductName());
  document.add("architecture", "Architecture", QSysInfo::currentCpuArchitecture());
  document.add("qt", "Qt", qVersion());
  return document;
}

/// What went wrong, or nothing.
void addProblem(Document& document, const Failure& failure) {
  document.add("problem", "Problem", failure.message);
  document.addQuietly("problemCode", exitCodeName(failure.code));
  document.addQuietly("details", failure.details);
}

void examine(Run& run, const Arguments& arguments) {
  Document whole("doctor");
  whole.include("environment", "Environment", examineSystem());
  Document library = examineLibrary(run);
  Document found("doctor");
  ExitCode code = ExitCode::kDone;
  try {
    loadLibrary(run);
    library.add("operations", "Operations", device::kOperations.size());
    const DeviceSession session(run);
    found.add("connected", "Connected", true, "yes");
    found.include("snapshot", "Everything that can be read", readSnapshot());
  } catch (const Failure& failure) {
    code = failure.code;
    if (code == ExitCode::kLibrary) {
      addProblem(library, failure);
    }
    found.add("connected", "Connected", false, "no");
    addProblem(found, failure);
  }
  found.add("lock", "Lock file", lockFile(run));
  // The window takes no lock: it would not show here.
  found.add("lockNote", "Note", "the window takes no lock; close it before using this program");
  whole.include("library", "Device library", library);
  whole.include("device", "Device", found);
  if (arguments.has("output")) {
    writeResultFile(arguments.text("output"), whole.value().json() + '\n');
    if (!whole.isComplete()) {
      run.setExitCode(ExitCode::kFailed);
    }
  } else {
    run.finish(whole);
  }
  if (code != ExitCode::kDone) {
    run.setExitCode(code);
  }
}

}  // namespace

Command doctorVerb() {
  return {"doctor",
          "Find out what is wrong: library, device, locks; one document to send to support",
          {{"-o,--output", "Write it there as JSON instead of printing it", Option::Takes::kValue, "FILE"}},
          {},
          examine};
}

}  // namespace cli
