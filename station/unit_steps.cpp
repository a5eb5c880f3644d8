#include "station/unit_steps.h"

#include "edid/edid_calls.h"
#include "edid/whole_table.h"
#include "firmware/capture_burn.h"
#include "firmware/capture_progress.h"
#include "firmware/ext_mcu_upgrade.h"
#include "firmware/provisioning_calls.h"
#include "session/identity.h"
#include "session/identity_calls.h"

#include <QCryptographicHash>

#include <utility>
#include <vector>

namespace station {
namespace {

using namespace std::chrono_literals;
using firmware::UpgradeOutcome;

// A single read proves little on a bad cable: so many must agree.
constexpr int kAgreeing = 3;
constexpr int kMostReads = 9;

QString statusText(const device::Failure& failure) { return QStringLiteral("status %1").arg(failure.status); }

/// Reads until some reads agree; gives up early on a device that only fails.
/// @param read returns a device::Result
template <typename Read, typename Value = typename std::invoke_result_t<Read>::value_type>
Agreed<Value> agreed(const Read& read) {
  std::vector<std::pair<Value, int>> seen;
  int failures = 0;
  QString reason = QStringLiteral("the reads disagree");
  for (int i = 0; i < kMostReads; ++i) {
    const auto found = read();
    if (!found) {
      reason = statusText(found.error());
      if (++failures == kAgreeing && seen.empty()) {
        break;
      }
      continue;
    }
    const auto same =
        std::find_if(seen.begin(), seen.end(), [&found](const auto& entry) { return entry.first == *found; });
    if (same == seen.end()) {
      seen.emplace_back(*found, 1);
    } else if (++same->second == kAgreeing) {
      return same->first;
    }
  }
  return tl::make_unexpected(reason);
}

device::Result<QString> textOf(const device::Result<device::ReportedText>& read) {
  return read.map([](const device::ReportedText& text) { return text.text; });
}

device::Result<QString> mcuVersionText() { return session::readMcuVersion().map(session::mainVersionText); }

device::Result<QString> serialText() { return textOf(firmware::readSerialNumber()); }

StepReport failed(const QString& problem, const QString& before = {}) {
  return {StepEnding::kFailed, {}, before, {}, problem};
}

StepReport already(const QString& evidence, const QString& value) {
  return {StepEnding::kAlready, evidence, value, value, {}};
}

/// Sets a value that can be read: read, written unless right, read back.
/// @param read returns an Agreed value
/// @param show makes a text of a value
template <typename Value, typename Read, typename Write, typename Show>
StepReport setValue(const Value& wanted, const Read& read, const Write& write, const Show& show) {
  const Agreed<Value> before = read();
  if (before && *before == wanted) {
    return already(QStringLiteral("readback"), show(wanted));
  }
  const QString beforeText = before ? show(*before) : QString();
  if (const device::Result<> written = write(); !written) {
    return failed(QStringLiteral("the device did not take it (%1)").arg(statusText(written.error())), beforeText);
  }
  const Agreed<Value> after = read();
  if (!after) {
    return failed(QStringLiteral("written, but it cannot be read back (%1)").arg(after.error()), beforeText);
  }
  if (*after != wanted) {
    return failed(QStringLiteral("wrote %1, but the device reads back %2").arg(show(wanted), show(*after)), beforeText);
  }
  return {StepEnding::kDone, QStringLiteral("readback"), beforeText, show(wanted), {}};
}

QString upgradeProblem(UpgradeOutcome outcome) {
  switch (outcome) {
    case UpgradeOutcome::kNoKnownMcu:
      return QStringLiteral("no MCU of a known family answers");
    case UpgradeOutcome::kResetFailed:
      return QStringLiteral("the MCU did not take the reset");
    case UpgradeOutcome::kSetBootFailed:
      return QStringLiteral("the boot loader did not answer after the reset");
    case UpgradeOutcome::kNotReady:
      return QStringLiteral("the boot loader did not become ready");
    case UpgradeOutcome::kStartRefused:
    case UpgradeOutcome::kAddressRefused:
    case UpgradeOutcome::kDataRefused:
    case UpgradeOutcome::kFinishRefused:
      return QStringLiteral("the boot loader did not take a packet");
    default:
      return QStringLiteral("the upgrade did not begin");
  }
}

/// The version, once new firmware has had time to start.
template <typename Read>
Agreed<QString> versionOnceThere(const Read& read, const device::Pause& pause) {
  constexpr int kAttempts = 150;
  constexpr auto kApart = 20ms;
  for (int i = 1; i < kAttempts && !read(); ++i) {
    pause(kApart);
  }
  return agreed(read);
}

StepReport judgeVersion(const Agreed<QString>& found, const QString& wanted, const QString& evidence,
                        const QString& before) {
  if (!found) {
    return failed(QStringLiteral("written, but the version cannot be read (%1)").arg(found.error()), before);
  }
  if (*found != wanted) {
    return failed(QStringLiteral("written, but the version is %1 instead of %2").arg(*found, wanted), before);
  }
  return {StepEnding::kDone, evidence, before, *found, {}};
}

/// Upgrades once the MCU answers: after a crash in mid-upgrade it may just be starting.
firmware::UpgradeResult upgradeOnceThere(std::span<const std::uint8_t> image, const StepTools& tools) {
  constexpr int kAttempts = 50;
  constexpr auto kApart = 100ms;
  const auto listener = [&tools](const firmware::UpgradeEvent& event) {
    if (const auto* sent = std::get_if<firmware::BlockSent>(&event)) {
      tools.progress(static_cast<int>((sent->block + 1) * 100 / sent->blocks));
    }
  };
  firmware::UpgradeOptions options;
  options.requireChecksum = true;
  options.stopRequested = tools.stopRequested;
  auto result = firmware::upgradeExtMcu(image, true, tools.pause, listener, options);
  for (int i = 1; i < kAttempts && result.outcome == UpgradeOutcome::kNoKnownMcu && !tools.stopRequested(); ++i) {
    tools.pause(kApart);
    result = firmware::upgradeExtMcu(image, true, tools.pause, listener, options);
  }
  return result;
}

}  // namespace

QString Identity::text() const {
  return QStringLiteral("%1 by %2, serial number %3, capture %4, MCU %5")
      .arg(product, manufacturer, serialNumber.isEmpty() ? QStringLiteral("none") : serialNumber,
           captureVersion.isEmpty() ? QStringLiteral("without firmware") : captureVersion,
           mcuVersion.isEmpty() ? QStringLiteral("without firmware") : mcuVersion);
}

Agreed<Identity> readIdentity() {
  Identity identity;
  struct Field {
    QString* text;
    device::Result<QString> (*read)();
    const char* name;
  };
  for (const Field& field : {
           Field{&identity.uvcName, [] { return textOf(session::readUvcName()); }, "UVC name"},
           Field{&identity.manufacturer, [] { return textOf(session::readManufacturer()); }, "manufacturer"},
           Field{&identity.product, [] { return textOf(session::readProduct()); }, "product"},
           Field{&identity.serialNumber, serialText, "serial number"},
       }) {
    const auto text = agreed(field.read);
    if (!text) {
      return tl::make_unexpected(
          QStringLiteral("the %1 cannot be read (%2)").arg(QLatin1String(field.name), text.error()));
    }
    *field.text = *text;
  }
  // Without firmware a chip tells no version; that is no failure here.
  identity.captureVersion = agreed(session::readCaptureVersion).value_or(QString());
  identity.mcuVersion = agreed(mcuVersionText).value_or(QString());
  return identity;
}

Agreed<QByteArray> readTable(std::uint8_t slot, int bytes) {
  return agreed([slot, bytes] {
    return edid::readFlashTable(slot, edid::sizeFor(bytes)).map([bytes](const QByteArray& table) {
      return table.left(bytes);
    });
  });
}

Agreed<int> readEdidMode() {
  return agreed(edid::readMode).map([](std::uint8_t mode) { return int{mode}; });
}

Agreed<int> readEdidSlot() {
  return agreed(edid::readDefaultSlot).map([](std::uint8_t slot) { return int{slot}; });
}

StepReport upgradeMcu(const QByteArray& image, const QString& expectedVersion, const StepTools& tools) {
  const QString before = agreed(mcuVersionText).value_or(QString());
  if (before == expectedVersion) {
    return already(QStringLiteral("version"), before);
  }
  const std::span bytes(reinterpret_cast<const std::uint8_t*>(image.constData()),
                        static_cast<std::size_t>(image.size()));
  const auto result = upgradeOnceThere(bytes, tools);
  if (result.outcome == UpgradeOutcome::kStopped) {
    return {StepEnding::kStopped, {}, before, {}, QStringLiteral("stopped behind the packet under way")};
  }
  if (result.outcome != UpgradeOutcome::kDone) {
    return failed(upgradeProblem(result.outcome), before);
  }
  return judgeVersion(versionOnceThere(mcuVersionText, tools.pause), expectedVersion,
                      QStringLiteral("checksums+version"), before);
}

StepReport burnCapture(const QString& path, const QString& expectedVersion, const StepTools& tools) {
  const QString before = agreed(session::readCaptureVersion).value_or(QString());
  if (before == expectedVersion) {
    return already(QStringLiteral("version"), before);
  }
  const auto burnt =
      firmware::burnCaptureTelling(path, [&tools](float percent) { tools.progress(firmware::wholePercent(percent)); });
  if (!burnt) {
    return failed(QStringLiteral("the burn failed (%1)").arg(statusText(burnt.error())), before);
  }
  return judgeVersion(versionOnceThere(session::readCaptureVersion, tools.pause), expectedVersion,
                      QStringLiteral("version"), before);
}

StepReport burnKey(const QString& path) {
  if (const auto burnt = firmware::burnKey(path); !burnt) {
    return failed(QStringLiteral("the device did not take the key (%1)").arg(statusText(burnt.error())));
  }
  return {StepEnding::kDone, QStringLiteral("reported"), {}, {}, {}};
}

StepReport writeEdid(std::uint8_t slot, const QByteArray& table) {
  const std::span bytes(reinterpret_cast<const std::uint8_t*>(table.constData()),
                        static_cast<std::size_t>(table.size()));
  return setValue(
      table, [&] { return readTable(slot, table.size()); }, [&] { return edid::writeFlashTable(slot, bytes); },
      tableText);
}

StepReport setEdidMode(int mode) {
  return setValue(
      mode, readEdidMode, [mode] { return edid::setMode(mode); }, [](int code) { return QString::number(code); });
}

StepReport setEdidSlot(std::uint8_t slot) {
  return setValue(
      int{slot}, readEdidSlot, [slot] { return edid::setDefaultSlot(slot); },
      [](int code) { return QString::number(code); });
}

StepReport setSerialNumber(const QString& text) {
  return setValue(
      text, [] { return agreed(serialText); }, [&text] { return firmware::setSerialNumber(text); },
      [](const QString& value) { return value; });
}

StepReport restoreDefaults() {
  if (const auto restored = firmware::restoreDefaults(); !restored) {
    return failed(QStringLiteral("the device did not restore its defaults (%1)").arg(statusText(restored.error())));
  }
  return {StepEnding::kDone, QStringLiteral("reported"), {}, {}, {}};
}

StepReport restart() {
  if (const auto restarted = firmware::reboot(); !restarted) {
    return failed(QStringLiteral("the device did not restart (%1)").arg(statusText(restarted.error())));
  }
  return {StepEnding::kDone, QStringLiteral("reported"), {}, {}, {}};
}

QString tableText(const QByteArray& table) {
  const QByteArray hash = QCryptographicHash::hash(table, QCryptographicHash::Sha256).toHex().left(8);
  return QStringLiteral("%1 bytes, SHA-256 %2...").arg(table.size()).arg(QString::fromLatin1(hash));
}

}  // namespace station
