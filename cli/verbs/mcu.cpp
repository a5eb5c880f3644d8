#include "cli/device_session.h"
#include "cli/failure.h"
#include "cli/interruption.h"
#include "cli/next_command.h"
#include "cli/progress.h"
#include "cli/readings.h"
#include "cli/verb.h"
#include "device/bytes.h"
#include "device/ext_mcu_channel.h"
#include "firmware/ext_mcu_upgrade.h"
#include "firmware/mcu_image.h"
#include "session/identity.h"
#include "session/identity_calls.h"

#include <QFileInfo>

#include <functional>
#include <optional>

namespace cli {
namespace {

using namespace std::chrono_literals;
using firmware::UpgradeOutcome;

constexpr std::uint8_t kFamily2 = 0x32;
constexpr std::uint8_t kFamilyV = 0x76;

enum class McuMode { kApplication, kBootLoader, kSilent };

struct McuState {
  McuMode mode = McuMode::kSilent;
  std::uint8_t familyCode = 0;  // 0 = silent
};

QString mcuModeName(McuMode mode) { return mode == McuMode::kApplication ? "application" : "bootLoader"; }

// What no MCU answers with counts as no answer, as it does in an upgrade.
McuState readMcuStateOnce() {
  for (const auto& [slave, mode] : {std::pair{device::kMcuApplication, McuMode::kApplication},
                                    std::pair{device::kMcuBootLoader, McuMode::kBootLoader}}) {
    const auto family = device::readRegister(device::kI2cBus, slave, device::kMcuFamilyRegister);
    if (family && (*family == kFamily2 || *family == kFamilyV)) {
      return {mode, *family};
    }
  }
  return {};
}

/// One failed read must not pass for a silent MCU.
McuState readMcuState(int attempts = 3, const std::function<void()>& wait = {}) {
  McuState state = readMcuStateOnce();
  for (int i = 1; i < attempts && state.mode == McuMode::kSilent; ++i) {
    if (wait) {
      wait();
    }
    state = readMcuStateOnce();
  }
  return state;
}

void showMcu(Run& run, const Arguments&) {
  const DeviceSession session(run);
  run.finish(readMcu());
}

/// The family that an image is made for, where it tells: code for family "2"
/// begins with a stack in RAM and an entry point in flash behind the boot loader.
std::optional<std::uint8_t> familyOfImage(std::span<const std::uint8_t> image) {
  constexpr std::uint32_t kRam = 0x2000'0000;
  constexpr std::uint32_t kRamEnd = 0x2004'0000;
  constexpr std::uint32_t kFlash = 0x0800'5000;
  constexpr std::uint32_t kFlashEnd = 0x0810'0000;
  if (image.size() < 8) {
    return std::nullopt;
  }
  const std::uint32_t stack = device::readU32le(image, 0);
  const std::uint32_t entry = device::readU32le(image, 4);
  const bool isVectorTable =
      stack > kRam && stack <= kRamEnd && entry >= kFlash && entry < kFlashEnd && (entry & 1) == 1;
  return isVectorTable ? std::optional(kFamily2) : std::nullopt;
}

QByteArray imageArgument(const QString& path) {
  const auto image = firmware::readMcuImage(path);
  if (!image) {
    throw Failure(ExitCode::kRefused, QStringLiteral("cannot read %1").arg(path));
  }
  if (image->isEmpty()) {
    throw Failure(ExitCode::kRefused, QStringLiteral("%1 is empty").arg(path));
  }
  return *image;
}

struct Sending {
  firmware::UpgradeResult result;
  bool isFinishing = false;  // all data packets have been taken
};

Sending upgrade(const Run& run, std::span<const std::uint8_t> image) {
  Progress progress(run, "Upgrading");
  Sending sending;
  const auto listener = [&progress, &sending](const firmware::UpgradeEvent& event) {
    if (const auto* sent = std::get_if<firmware::BlockSent>(&event)) {
      progress.show(static_cast<int>((sent->block + 1) * 100 / sent->blocks));
    } else if (const auto* begun = std::get_if<firmware::StepBegun>(&event)) {
      sending.isFinishing = begun->step == firmware::UpgradeStep::kFinish;
    }
  };
  firmware::UpgradeOptions options;
  options.requireChecksum = true;
  options.stopRequested = interruption::isRequested;
  sending.result = firmware::upgradeExtMcu(image, true, run.console().pause, listener, options);
  return sending;
}

const char* outcomeText(UpgradeOutcome outcome) {
  switch (outcome) {
    case UpgradeOutcome::kNoKnownMcu:
      return "no MCU of a known family answers";
    case UpgradeOutcome::kResetFailed:
      return "the MCU did not take the reset";
    case UpgradeOutcome::kSetBootFailed:
      return "the boot loader did not answer after the reset";
    case UpgradeOutcome::kNotReady:
      return "the boot loader did not become ready";
    case UpgradeOutcome::kStartRefused:
      return "the start packet was not taken";
    case UpgradeOutcome::kAddressRefused:
      return "an address packet was not taken";
    case UpgradeOutcome::kDataRefused:
      return "a data packet was not taken";
    case UpgradeOutcome::kFinishRefused:
      return "the finish packet was not taken";
    case UpgradeOutcome::kStopped:
      return "stopped after the packet under way";
    default:
      return "the upgrade did not begin";
  }
}

Failure recovery(const QString& message, const QString& next) {
  Failure failure(ExitCode::kRecovery, message);
  failure.next = next;
  return failure;
}

Failure upgradeFailure(UpgradeOutcome outcome, const QString& next) {
  const QString text = outcomeText(outcome);
  if (readMcuState().mode == McuMode::kApplication) {
    return outcome == UpgradeOutcome::kStopped ? Failure(ExitCode::kInterrupted, "interrupted, nothing written")
                                               : Failure(ExitCode::kFailed, text + "; the MCU runs as before");
  }
  if (outcome == UpgradeOutcome::kNoKnownMcu) {
    return {ExitCode::kFailed, text};
  }
  return recovery(text + "; the MCU waits for its firmware (if this stays, plug the device anew)", next);
}

/// The version, once the new firmware has started.
device::Result<std::uint8_t> versionAfterUpgrade(const Run& run) {
  constexpr int kAttempts = 30;
  auto version = session::readMcuVersion();
  for (int i = 1; i < kAttempts && !version; ++i) {
    run.console().pause(100ms);
    version = session::readMcuVersion();
  }
  return version;
}

QString requireRunning(const Run& run, const QString& expected, const QString& next) {
  auto version = versionAfterUpgrade(run);
  for (int i = 1; i < 3 && version && !expected.isEmpty() && session::mainVersionText(*version) != expected; ++i) {
    version = versionAfterUpgrade(run);
  }
  if (!version) {
    if (readMcuState().mode == McuMode::kBootLoader) {
      throw recovery("every packet was taken, but the MCU did not start the firmware", next);
    }
    throw Failure(
        ExitCode::kUnchecked,
        QStringLiteral("every packet was taken, but the version cannot be read (%1)").arg(reasonOf(version.error())));
  }
  QString found = session::mainVersionText(*version);
  if (!expected.isEmpty() && found != expected) {
    Failure failure(ExitCode::kMismatch,
                    QStringLiteral("every packet was taken, but the version is %1 instead of %2").arg(found, expected));
    failure.details.set("wanted", expected);
    failure.details.set("found", found);
    throw failure;
  }
  return found;
}

void requireFamily(Run& run, std::span<const std::uint8_t> image, const McuState& state) {
  if (state.mode == McuMode::kSilent) {
    throw Failure(ExitCode::kFailed, outcomeText(UpgradeOutcome::kNoKnownMcu));
  }
  const auto family = familyOfImage(image);
  run.require(checks::kFamily, !family || *family == state.familyCode,
              QStringLiteral("the image is made for family \"%1\", the MCU is of family \"%2\"")
                  .arg(QChar(family.value_or(0)), QChar(state.familyCode)));
}

/// Compares the outcome of the upgrade with the MCU that now runs.
/// @param next the command that goes on where the upgrade stopped
/// @return its version
QString requireUpgraded(const Run& run, const Sending& sending, const QString& expected, const QString& next) {
  const UpgradeOutcome outcome = sending.result.outcome;
  if (outcome == UpgradeOutcome::kDone) {
    return requireRunning(run, expected, next);
  }
  // A boot loader that starts the firmware before it could be asked has finished.
  const bool isStarted = sending.isFinishing && readMcuState().mode == McuMode::kApplication;
  if (!isStarted) {
    throw upgradeFailure(outcome, next);
  }
  QString version = requireRunning(run, expected, next);
  if (outcome != UpgradeOutcome::kNotReady) {
    throw Failure(
        ExitCode::kUnchecked,
        QStringLiteral("every data packet was taken and the MCU runs %1, but it did not confirm the finish packet")
            .arg(version));
  }
  return version;
}

void addOutcome(Document& document, const firmware::UpgradeResult& result, const QString& version) {
  document.add("mainVersion", "Version", version);
  document.add("packets", "Packets", result.packets);
  document.add("repeatedChecksums", "Of these not to be told apart", result.repeatedChecksums,
               QStringLiteral("%1 (same checksum as the packet before)").arg(result.repeatedChecksums));
  document.add("changed", "Changed", true, "yes");
  document.add("evidence", "Evidence", "checksums+version", "checksum of each packet, and the version");
}

void upgradeMcu(Run& run, const Arguments& arguments) {
  const QString path = QFileInfo(arguments.text("FILE")).absoluteFilePath();
  const QString expected = arguments.text("expect");
  const QByteArray bytes = imageArgument(path);
  const std::span image(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                        static_cast<std::size_t>(bytes.size()));
  const DeviceSession session(run);
  // It may just have been plugged in.
  constexpr int kAttempts = 20;
  requireFamily(run, image, readMcuState(kAttempts, [&run] { run.console().pause(100ms); }));
  Document document("mcu");
  document.add("image", "Image", path);
  document.add("size", "Size", bytes.size(), QStringLiteral("%1 bytes").arg(bytes.size()));
  const auto before = session::readMcuVersion();
  if (before) {
    document.add("before", "Version before", session::mainVersionText(*before));
  }
  const bool isThere = before && session::mainVersionText(*before) == expected;
  if ((isThere && !run.options().always) || run.options().dryRun) {
    document.add("changed", "Changed", false, isThere ? "no, the version is there already" : "no, a dry run");
    document.addQuietly(isThere ? "evidence" : "dryRun", isThere ? Value("version") : Value(true));
    run.finish(document);
    return;
  }
  run.confirm(Weight::kLasting, QStringLiteral("Upgrade the external MCU with %1?").arg(path), {});
  const Sending sending = upgrade(run, image);
  const QString version = requireUpgraded(run, sending, expected, nextCommand(run, "mcu upgrade", path, expected));
  addOutcome(document, sending.result, version);
  run.finish(document);
}

}  // namespace

Document readMcu() {
  const McuState state = readMcuState();
  Document document("mcu");
  if (state.mode == McuMode::kSilent) {
    document.addUnread("mode", "Mode", "no MCU of a known family answers");
  } else {
    document.add("mode", "Mode", mcuModeName(state.mode));
    document.add("family", "Chip family", QString(QChar(state.familyCode)));
  }
  if (state.mode == McuMode::kApplication) {
    addReading(document, "mainVersion", "Version", session::readMcuVersion().map([](std::uint8_t version) {
      return Shown{session::mainVersionText(version)};
    }));
  }
  return document;
}

Command mcuVerb() {
  using Takes = Option::Takes;
  Command verb{"mcu", "Show or upgrade the external MCU"};
  verb.commands = {
      {"info", "Show what the MCU runs", {}, {}, showMcu},
      {"upgrade",
       "Send firmware to the MCU; Ctrl-C stops after the packet under way",
       {{"FILE", "The firmware", Takes::kValue, "", {}, true},
        {"--expect", "The version that must then run, for example v1.3", Takes::kValue, "VERSION"}},
       {},
       upgradeMcu},
  };
  verb.action = showMcu;
  return verb;
}

}  // namespace cli
