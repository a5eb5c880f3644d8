#include "cli/change.h"
#include "cli/device_session.h"
#include "cli/readings.h"
#include "cli/verb.h"

namespace cli {
namespace {

using diag::GpioGroup;

GpioGroup groupArgument(const Arguments& arguments) {
  return arguments.text("group") == "misc" ? GpioGroup::kMisc : GpioGroup::kIso;
}

QString groupName(GpioGroup group) { return group == GpioGroup::kIso ? "iso" : "misc"; }

std::uint8_t pinArgument(const Arguments& arguments) {
  return static_cast<std::uint8_t>(arguments.number("PIN", 0, diag::kPinCount - 1));
}

void addPin(Document& document, GpioGroup group, std::uint8_t pin) {
  addReading(document, QStringLiteral("%1%2").arg(groupName(group)).arg(pin),
             QStringLiteral("%1 %2").arg(groupName(group).toUpper()).arg(pin),
             diag::readPin(group, pin).map([](std::uint8_t value) { return Shown{value}; }));
}

void listPins(Run& run, const Arguments& arguments) {
  const DeviceSession session(run);
  run.finish(readGpio(arguments.has("group") ? std::optional(groupArgument(arguments)) : std::nullopt));
}

void getPin(Run& run, const Arguments& arguments) {
  const std::uint8_t pin = pinArgument(arguments);
  const DeviceSession session(run);
  Document document("gpio");
  addPin(document, groupArgument(arguments), pin);
  run.finish(document);
}

void setPin(Run& run, const Arguments& arguments) {
  const std::uint8_t pin = pinArgument(arguments);
  const auto value = static_cast<std::uint8_t>(arguments.number("VALUE", 0, 0xFF));
  const GpioGroup group = groupArgument(arguments);
  const DeviceSession session(run);
  Change change;
  change.schema = "gpio";
  change.key = QStringLiteral("%1%2").arg(groupName(group)).arg(pin);
  change.label = QStringLiteral("%1 %2").arg(groupName(group).toUpper()).arg(pin);
  change.wanted = value;
  change.read = [group, pin] { return diag::readPin(group, pin).map([](std::uint8_t read) { return Value(read); }); };
  change.write = [group, pin, value] { return diag::writePin(group, pin, value); };
  change.weight = Weight::kLasting;
  change.question = QStringLiteral("Write %1 to pin %2?").arg(value).arg(change.label);
  apply(run, change);
}

}  // namespace

Document readGpio(std::optional<GpioGroup> only) {
  Document document("gpio");
  for (const GpioGroup group : {GpioGroup::kIso, GpioGroup::kMisc}) {
    for (std::uint8_t pin = 0; pin < diag::kPinCount && (!only || *only == group); ++pin) {
      addPin(document, group, pin);
    }
  }
  return document;
}

Command gpioVerb() {
  using Takes = Option::Takes;
  const Option pin{"PIN", "The pin, 0 to 13", Takes::kValue, "", {}, true};
  const Option group{"--group", "The pin's group (default: iso)", Takes::kValue, "GROUP", {"iso", "misc"}};
  Command verb{"gpio", "Read and write the capture chip's pins"};
  verb.commands = {
      {"list", "Show all pins, or those of one group", {group}, {}, listPins},
      {"get", "Show one pin", {pin, group}, {}, getPin},
      {"set",
       "Write one pin",
       {pin, {"VALUE", "The value, 0 to 255 or 0x00 to 0xFF", Takes::kValue, "", {}, true}, group},
       {},
       setPin},
  };
  verb.action = listPins;
  return verb;
}

}  // namespace cli
