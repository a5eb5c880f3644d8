#include "cli/change.h"
#include "cli/device_session.h"
#include "cli/readings.h"
#include "cli/verb.h"
#include "firmware/provisioning_calls.h"

#include <algorithm>

namespace cli {
namespace {

constexpr int kLongestSerial = 16;

// The device takes UTF-8 and gives Latin-1: what both write alike survives.
bool survivesSerial(const QString& text) {
  return std::all_of(text.begin(), text.end(),
                     [](QChar letter) { return letter.unicode() >= 0x20 && letter.unicode() < 0x7F; });
}

void getSerial(Run& run, const Arguments&) {
  const DeviceSession session(run);
  run.finish(readSerial());
}

void setSerial(Run& run, const Arguments& arguments) {
  const QString text = arguments.text("TEXT");
  run.require(checks::kSerial, !text.isEmpty(), "the serial number is empty");
  run.require(checks::kSerial, text.size() <= kLongestSerial,
              QStringLiteral("the serial number has %1 characters, more than %2").arg(text.size()).arg(kLongestSerial));
  run.require(checks::kSerial, survivesSerial(text),
              "the serial number has characters that do not survive: only ASCII letters, digits and signs do");
  const DeviceSession session(run);
  Change change;
  change.schema = "serial";
  change.key = "serialNumber";
  change.label = "Serial number";
  change.wanted = text;
  change.read = [] {
    return firmware::readSerialNumber().map([](const device::ReportedText& read) { return Value(read.text); });
  };
  change.write = [&text] { return firmware::setSerialNumber(text); };
  change.weight = Weight::kLasting;
  change.question = QStringLiteral("Write the serial number \"%1\"?").arg(text);
  apply(run, change);
}

}  // namespace

Document readSerial() {
  Document document("serial");
  addReading(document, "serialNumber", "Serial number",
             firmware::readSerialNumber().map([](const device::ReportedText& read) { return Shown{read.text}; }));
  return document;
}

Command serialVerb() {
  Command verb{"serial", "Show or set the USB serial number"};
  verb.commands = {
      {"get", "Show the serial number", {}, {}, getSerial},
      {"set",
       "Write a serial number of at most 16 ASCII characters",
       {{"TEXT", "The serial number", Option::Takes::kValue, "", {}, true}},
       {},
       setSerial},
  };
  verb.action = getSerial;
  return verb;
}

}  // namespace cli
