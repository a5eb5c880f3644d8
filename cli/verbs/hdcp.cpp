#include "cli/change.h"
#include "cli/device_session.h"
#include "cli/failure.h"
#include "cli/readings.h"
#include "cli/verb.h"
#include "device/regular_file.h"
#include "firmware/provisioning_calls.h"
#include "video/video_calls.h"

#include <QFile>
#include <QFileInfo>

namespace cli {
namespace {

void showHdcp(Run& run, const Arguments&) {
  const DeviceSession session(run);
  run.finish(readHdcp());
}

// What the transmitter then does also depends on signal and sink, so that its
// state proves nothing about the switch.
void setTransmitterHdcp(Run& run, const Arguments& arguments) {
  const bool on = arguments.text("STATE") == "on";
  const DeviceSession session(run);
  Change change;
  change.schema = "hdcp";
  change.key = "transmitterSwitch";
  change.label = "Transmitter HDCP";
  change.wanted = on;
  change.wantedText = on ? "on" : "off";
  change.write = [on] { return video::setTransmitterHdcp(on); };
  apply(run, change);
}

void requireKeyFile(const QString& path) {
  QFile file(path);
  if (!device::openRegularFile(file, QIODevice::ReadOnly)) {
    throw Failure(ExitCode::kRefused, QStringLiteral("cannot read the key file %1").arg(path));
  }
  char first = 0;
  if (file.read(&first, 1) != 1) {
    throw Failure(ExitCode::kRefused, QStringLiteral("the key file %1 is empty").arg(path));
  }
}

void burnHdcpKey(Run& run, const Arguments& arguments) {
  const QString path = arguments.text("FILE");
  requireKeyFile(path);
  const DeviceSession session(run);
  Change change;
  change.schema = "hdcp";
  change.key = "keyFile";
  change.label = "Key file";
  change.wanted = path;
  change.write = [&path] { return firmware::burnKey(path); };
  change.weight = Weight::kIrreversible;
  change.question = QStringLiteral("Replace the device's HDCP key by that of %1? The present one is lost.").arg(path);
  change.word = "key";
  apply(run, change);
}

Shown hdcpShown(std::uint8_t code) { return coded(code, video::hdcpVersionText(code)); }

}  // namespace

Document readHdcp() {
  Document document("hdcp");
  const auto versions = video::readHdcpVersions();
  addReading(document, "receiver", "Receiver",
             versions.map([](const video::HdcpVersions& both) { return hdcpShown(both.receiver); }));
  addReading(document, "transmitter", "Transmitter",
             versions.map([](const video::HdcpVersions& both) { return hdcpShown(both.transmitter); }));
  return document;
}

Command hdcpVerb() {
  using Takes = Option::Takes;
  Command verb{"hdcp", "Show HDCP, switch the transmitter's, write a key"};
  verb.commands = {
      {"status", "Show which HDCP is in use", {}, {}, showHdcp},
      {"tx",
       "Switch the transmitter's HDCP",
       {{"STATE", "On or off", Takes::kValue, "", {"on", "off"}, true}},
       {},
       setTransmitterHdcp},
      {"burn",
       "Write a key file into the device's key store; asks for the word \"key\"",
       {{"FILE", "The key file", Takes::kValue, "", {}, true}},
       {},
       burnHdcpKey},
  };
  verb.action = showHdcp;
  return verb;
}

}  // namespace cli
