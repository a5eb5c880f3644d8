#include "cli/device_session.h"
#include "cli/failure.h"
#include "cli/interruption.h"
#include "cli/next_command.h"
#include "cli/progress.h"
#include "cli/readings.h"
#include "cli/result_file.h"
#include "cli/verb.h"
#include "firmware/capture_burn.h"
#include "firmware/capture_image.h"
#include "firmware/capture_progress.h"
#include "session/identity_calls.h"

#include <QFileInfo>

namespace cli {
namespace {

/// Holds an image against the model that -d names.
void requireCaptureImage(Run& run, const QString& path) {
  const auto checked = firmware::checkCaptureImage(path, run.options().ids);
  if (QFileInfo(path).isFile() && QFileInfo(path).size() == 0) {
    throw Failure(ExitCode::kRefused, QStringLiteral("%1 is empty").arg(path));
  }
  if (checked) {
    return;
  }
  switch (checked.error()) {
    case firmware::ImageRefusal::kCannotOpen:
      throw Failure(ExitCode::kRefused, QStringLiteral("cannot read %1").arg(path));
    case firmware::ImageRefusal::kUnknownModel:
      run.require(checks::kModel, false, QStringLiteral("no model is known for %1").arg(run.options().model));
      return;
    case firmware::ImageRefusal::kWrongModel:
      run.require(checks::kModel, false,
                  QStringLiteral("%1 is no image for the %2: it does not name it").arg(path, run.options().model));
      return;
  }
}

void checkCapture(Run& run, const Arguments& arguments) {
  const QString path = arguments.text("FILE");
  requireCaptureImage(run, path);
  Document document("capture");
  document.add("image", "Image", path);
  document.add("size", "Size", QFileInfo(path).size(), QStringLiteral("%1 bytes").arg(QFileInfo(path).size()));
  document.add("model", "For", run.options().model);
  run.finish(document);
}

device::Result<> burnWithProgress(Run& run, const QString& path) {
  Progress progress(run, "Burning");
  bool hasTold = false;
  return firmware::burnCaptureTelling(path, [&](float percent) {
    progress.show(firmware::wholePercent(percent));
    if (interruption::isRequested() && !hasTold) {
      hasTold = true;
      progress.hint(run, "a burn cannot be stopped: it would leave the device without firmware; please wait");
    }
  });
}

/// The version as it is, once in three reads.
device::Result<QString> versionAfterBurn() {
  auto version = session::readCaptureVersion();
  for (int i = 1; i < 3 && !version; ++i) {
    version = session::readCaptureVersion();
  }
  return version;
}

Failure burnFailure(const device::Failure& reason, const QString& next) {
  const QString message = QStringLiteral("the burn failed (%1)").arg(reasonOf(reason));
  // A chip that still tells its version was not erased.
  if (versionAfterBurn()) {
    return {ExitCode::kFailed, message};
  }
  Failure failure(ExitCode::kRecovery, message + "; the device has no capture firmware now");
  failure.next = next;
  return failure;
}

void requireVersion(const device::Result<QString>& found, const QString& expected) {
  if (!found) {
    throw Failure(ExitCode::kUnchecked,
                  QStringLiteral("burnt, but the version cannot be read (%1)").arg(reasonOf(found.error())));
  }
  if (expected.isEmpty() || *found == expected) {
    return;
  }
  Failure failure(ExitCode::kMismatch,
                  QStringLiteral("burnt, but the version is %1 instead of %2").arg(*found, expected));
  failure.details.set("wanted", expected);
  failure.details.set("found", *found);
  throw failure;
}

Document burnDocument(const QString& path, const device::Result<QString>& before) {
  Document document("capture");
  document.add("image", "Image", path);
  if (before) {
    document.add("before", "Version before", *before);
  }
  return document;
}

void burnCaptureImage(Run& run, const Arguments& arguments) {
  const QString path = QFileInfo(arguments.text("FILE")).absoluteFilePath();
  const QString expected = arguments.text("expect");
  requireCaptureImage(run, path);
  const DeviceSession session(run);
  const auto before = session::readCaptureVersion();
  Document document = burnDocument(path, before);
  const bool isThere = before && !expected.isEmpty() && *before == expected;
  if ((isThere && !run.options().always) || run.options().dryRun) {
    document.add("changed", "Changed", false, isThere ? "no, the version is there already" : "no, a dry run");
    document.addQuietly(isThere ? "evidence" : "dryRun", isThere ? Value("version") : Value(true));
    run.finish(document);
    return;
  }
  run.confirm(Weight::kLasting, QStringLiteral("Burn %1 into the %2?").arg(path, run.options().model), {});
  if (const auto burnt = burnWithProgress(run, path); !burnt) {
    throw burnFailure(burnt.error(), nextCommand(run, "capture burn", path, expected));
  }
  auto found = versionAfterBurn();
  for (int i = 1; i < 3 && found && !expected.isEmpty() && *found != expected; ++i) {
    found = versionAfterBurn();
  }
  requireVersion(found, expected);
  document.add("captureVersion", "Version", *found);
  document.add("changed", "Changed", true, "yes");
  document.add("evidence", "Evidence", "version",
               expected.isEmpty() ? "the version reads back; --expect would check it" : "the version is as expected");
  run.finish(document);
}

}  // namespace

Command captureVerb() {
  using Takes = Option::Takes;
  const Option file{"FILE", "The image", Takes::kValue, "", {}, true};
  Command verb{"capture", "Check or burn firmware of the capture chip"};
  verb.commands = {
      {"check", "Hold an image against the model; needs no device", {file}, {}, checkCapture},
      {"burn",
       "Erase the capture chip's flash and write an image; cannot be stopped",
       {file, {"--expect", "The version that must then read back, for example V1.04.00", Takes::kValue, "VERSION"}},
       {},
       burnCaptureImage},
  };
  return verb;
}

}  // namespace cli
