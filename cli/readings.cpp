#include "cli/readings.h"

#include "cli/run.h"

namespace cli {

void addReading(Document& document, const QString& key, const QString& label, const device::Result<Shown>& reading) {
  if (reading) {
    document.add(key, label, reading->value, reading->text);
  } else {
    document.addUnread(key, label, reasonOf(reading.error()));
  }
}

Document readSnapshot() {
  Document document("snapshot");
  document.include("info", "Identity", readInfo());
  document.include("mcu", "External MCU", readMcu());
  document.include("serial", "Serial number", readSerial());
  document.include("rx", "Receiver", readRx());
  document.include("video", "Video", readVideo());
  document.include("hdcp", "HDCP", readHdcp());
  document.include("audio", "Audio", readAudio());
  document.include("edid", "EDID", readEdid());
  document.include("gpio", "Pins", readGpio());
  return document;
}

}  // namespace cli
