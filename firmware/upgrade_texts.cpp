#include "firmware/upgrade_texts.h"

namespace firmware {
namespace {

using device::BootCommand;

QStringList textsOf(const UpgradeBegun&) { return {QStringLiteral("Start...")}; }
QStringList textsOf(const McuFound&) { return {}; }
QStringList textsOf(const StepBegun&) { return {}; }
QStringList textsOf(const PacketUnverified&) { return {}; }
QStringList textsOf(const ChecksumRepeated&) { return {}; }

QStringList textsOf(const BootLoaderEntered& event) {
  return {QStringLiteral("MCU into boot"), QStringLiteral("Update Count%1...").arg(event.blocks)};
}

QStringList textsOf(const PacketRefused& event) {
  const PacketAttempt& packet = event.packet;
  switch (packet.command) {
    case BootCommand::kStart:
      return {QStringLiteral("%1Error MCU checksum...[1]").arg(packet.attempt)};
    case BootCommand::kAddress:
      return {QStringLiteral("%1Error MCU Addr checksum...[2] %2").arg(packet.attempt).arg(packet.checksum)};
    case BootCommand::kData:
      return {QStringLiteral("Error MCU data checksum...[fail]")};
    case BootCommand::kFinish:
      // The address wording is the one that operators know.
      return {QStringLiteral("Error MCU Addr checksum...[3]")};
  }
  return {};
}

QStringList textsOf(const BlockSent& event) {
  return {QStringLiteral("Update %1%...").arg(event.block * 100 / event.blocks)};
}

QStringList textsOf(const UpgradeEnded& event) {
  switch (event.outcome) {
    case UpgradeOutcome::kDone:
      return {QStringLiteral("MCU Update Done...[Success]")};
    case UpgradeOutcome::kNoImage:
      return {QStringLiteral("Error No file...[fail]")};
    case UpgradeOutcome::kResetFailed:
      return {QStringLiteral("Error Reset MCU ...")};
    case UpgradeOutcome::kSetBootFailed:
      return {QStringLiteral("Error set boot mode ...")};
    case UpgradeOutcome::kNotReady:
      return {QStringLiteral("Error MCU status...[fail]")};
    case UpgradeOutcome::kNotConnected:
    case UpgradeOutcome::kNoKnownMcu:
    case UpgradeOutcome::kStopped:
    case UpgradeOutcome::kStartRefused:
    case UpgradeOutcome::kAddressRefused:
    case UpgradeOutcome::kDataRefused:
    case UpgradeOutcome::kFinishRefused:
      break;  // without words, or the last refusal has said so
  }
  return {};
}

}  // namespace

QStringList windowTexts(const UpgradeEvent& event) {
  return std::visit([](const auto& concrete) { return textsOf(concrete); }, event);
}

}  // namespace firmware
