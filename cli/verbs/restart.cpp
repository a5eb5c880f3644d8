#include "cli/change.h"
#include "cli/device_session.h"
#include "cli/failure.h"
#include "cli/verb.h"
#include "firmware/provisioning_calls.h"
#include "session/identity_calls.h"

namespace cli {
namespace {

using namespace std::chrono_literals;

void restore(Run& run, const Arguments&) {
  const DeviceSession session(run);
  Change change;
  change.schema = "restore";
  change.key = "restored";
  change.label = "Factory defaults";
  change.wanted = true;
  change.wantedText = "restored";
  change.write = firmware::restoreDefaults;
  change.weight = Weight::kLasting;
  change.question = "Restore the factory defaults? All settings are lost.";
  apply(run, change);
}

// Since the restart it is too late for "nothing written".
Failure asLeftWaiting(const Failure& failure) {
  if (failure.code != ExitCode::kInterrupted) {
    return failure;
  }
  return {ExitCode::kUnchecked, "interrupted; the device was restarted, but has not answered yet"};
}

// The port may open while the device is still starting: a read tells.
void waitForReturn(Run& run, DeviceSession& session, std::chrono::milliseconds within) {
  const auto deadline = run.console().now() + within;
  while (true) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - run.console().now());
    session.reopen(std::max(left, 0ms));
    if (session::readUvcName()) {
      return;
    }
    if (run.console().now() >= deadline) {
      throw Failure(ExitCode::kNoDevice, "the device restarts, but does not answer");
    }
    run.stopIfInterrupted();
    run.console().pause(100ms);
  }
}

void reboot(Run& run, const Arguments&) {
  DeviceSession session(run);
  Document document("reboot");
  if (run.options().dryRun) {
    document.add("restarted", "Restarted", false, "no, a dry run");
    document.addQuietly("dryRun", true);
    run.finish(document);
    return;
  }
  run.confirm(Weight::kLasting, "Restart the device? It leaves the USB bus for a moment.", {});
  if (const auto done = firmware::reboot(); !done) {
    throw Failure(ExitCode::kFailed, QStringLiteral("the device did not restart (%1)").arg(reasonOf(done.error())));
  }
  document.add("restarted", "Restarted", true, "yes");
  if (run.options().wait) {
    try {
      waitForReturn(run, session, *run.options().wait);
    } catch (const Failure& failure) {
      throw asLeftWaiting(failure);
    }
    document.add("evidence", "Evidence", "answers", "it answers again");
  } else {
    document.add("evidence", "Evidence", "reported", "reported by the device only");
  }
  run.finish(document);
}

}  // namespace

Command restoreVerb() { return {"restore", "Restore the factory defaults", {}, {}, restore}; }

Command rebootVerb() { return {"reboot", "Restart the device; with --wait, until it answers again", {}, {}, reboot}; }

}  // namespace cli
