#include "cli/device_session.h"
#include "cli/readings.h"
#include "cli/verb.h"
#include "session/identity.h"
#include "session/identity_calls.h"

namespace cli {
namespace {

Shown reported(const device::ReportedText& text) { return {text.text}; }

void showInfo(Run& run, const Arguments&) {
  const DeviceSession session(run);
  run.finish(readInfo());
}

}  // namespace

Document readInfo() {
  Document document("info");
  addReading(document, "captureVersion", "Capture firmware",
             session::readCaptureVersion().map([](const QString& text) { return Shown{text}; }));
  // Fails while the MCU is in its boot loader, which is not that of the program's
  // application.
  addReading(document, "mainVersion", "Main firmware",
             session::readMcuVersion().map([](std::uint8_t v) { return Shown{session::mainVersionText(v)}; }));
  addReading(document, "uvcName", "UVC name", session::readUvcName().map(reported));
  addReading(document, "manufacturer", "Manufacturer", session::readManufacturer().map(reported));
  addReading(document, "product", "Product", session::readProduct().map(reported));
  return document;
}

Command infoVerb() { return {"info", "Show who the device is: firmware versions and USB texts", {}, {}, showInfo}; }

}  // namespace cli
