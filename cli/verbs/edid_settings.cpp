#include "cli/change.h"
#include "cli/device_session.h"
#include "cli/readings.h"
#include "cli/verbs/edid_commands.h"
#include "edid/edid_calls.h"
#include "edid/whole_table.h"
#include "video/video_calls.h"

#include <array>

namespace cli {
namespace {

constexpr std::array kModeNames{"from-flash", "follow-tx", "follow-usb", "mixed"};

Value modeName(std::uint8_t mode) {
  return mode < kModeNames.size() ? Value(kModeNames[mode]) : Value(QStringLiteral("code %1").arg(mode));
}

void setMode(Run& run, const Arguments& arguments) {
  const QString wanted = arguments.text("MODE");
  std::int32_t mode = 0;
  while (wanted != QLatin1String(kModeNames[static_cast<std::size_t>(mode)])) {
    ++mode;  // the parser knows no other names
  }
  Change change;
  change.schema = "edid";
  change.key = "mode";
  change.label = "EDID mode";
  change.wanted = wanted;
  change.read = [] { return edid::readMode().map(modeName); };
  change.write = [mode] { return edid::setMode(mode); };
  const DeviceSession session(run);
  apply(run, change);
}

void showOrSetMode(Run& run, const Arguments& arguments) {
  if (arguments.has("MODE")) {
    setMode(run, arguments);
    return;
  }
  const DeviceSession session(run);
  Document document("edid");
  addReading(document, "mode", "EDID mode",
             edid::readMode().map([](std::uint8_t mode) { return Shown{modeName(mode)}; }));
  run.finish(document);
}

void showOrSetDefault(Run& run, const Arguments& arguments) {
  if (!arguments.has("SLOT")) {
    const DeviceSession session(run);
    Document document("edid");
    addReading(document, "defaultSlot", "Slot in use",
               edid::readDefaultSlot().map([](std::uint8_t slot) { return Shown{slot}; }));
    run.finish(document);
    return;
  }
  const auto slot = static_cast<std::uint8_t>(arguments.number("SLOT", 0, edid::kSlotCount - 1));
  const DeviceSession session(run);
  Change change;
  change.schema = "edid";
  change.key = "defaultSlot";
  change.label = "Slot in use";
  change.wanted = slot;
  change.read = [] { return edid::readDefaultSlot().map([](std::uint8_t read) { return Value(read); }); };
  change.write = [slot] { return edid::setDefaultSlot(slot); };
  apply(run, change);
}

Shown tableShown(const QByteArray& table) {
  return {QString::fromLatin1(table.toHex()), QStringLiteral("%1 bytes").arg(table.size())};
}

}  // namespace

Document readEdid() {
  Document document("edid");
  addReading(document, "mode", "EDID mode",
             edid::readMode().map([](std::uint8_t mode) { return Shown{modeName(mode)}; }));
  addReading(document, "defaultSlot", "Slot in use",
             edid::readDefaultSlot().map([](std::uint8_t slot) { return Shown{slot}; }));
  for (std::uint8_t slot = 0; slot < edid::kSlotCount; ++slot) {
    addReading(document, QStringLiteral("slot%1").arg(slot), QStringLiteral("Slot %1").arg(slot),
               edid::readFlashTable(slot, edid::TableSize::k512).map(tableShown));
  }
  addReading(document, "ddc", "Offered to the source", edid::readWholeTable(edid::readDdcTable).map(tableShown));
  // Without a sink there is nothing to be read, which is no failure.
  const auto hotPlug = video::readTransmitterHotPlug();
  if (hotPlug && !video::isSinkPresent(*hotPlug)) {
    document.add("sink", "Sink", {}, "no sink");
  } else {
    addReading(document, "sink", "Sink", edid::readWholeTable(edid::readSinkTable).map(tableShown));
  }
  return document;
}

std::vector<Command> edidSettingCommands() {
  using Takes = Option::Takes;
  return {
      {"mode",
       "Show or set what the source gets to read",
       {{"MODE", "The mode", Takes::kValue, "", {kModeNames.begin(), kModeNames.end()}}},
       {},
       showOrSetMode},
      {"default",
       "Show or set the flash slot in use",
       {{"SLOT", "The slot, 0 to 6", Takes::kValue}},
       {},
       showOrSetDefault},
  };
}

}  // namespace cli
