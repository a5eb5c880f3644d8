#include "cli/change.h"
#include "cli/device_session.h"
#include "cli/readings.h"
#include "cli/verb.h"
#include "video/video_calls.h"

namespace cli {
namespace {

using video::InputSource;

Value sourceName(InputSource source) { return source == InputSource::kHdmi ? "hdmi" : "dp"; }

void showRx(Run& run, const Arguments&) {
  const DeviceSession session(run);
  run.finish(readRx());
}

void showVideo(Run& run, const Arguments&) {
  const DeviceSession session(run);
  run.finish(readVideo());
}

void setSource(Run& run, const Arguments& arguments) {
  const InputSource wanted = arguments.text("SOURCE") == "hdmi" ? InputSource::kHdmi : InputSource::kDp;
  const DeviceSession session(run);
  Change change;
  change.schema = "video";
  change.key = "source";
  change.label = "Input source";
  change.wanted = sourceName(wanted);
  change.read = [] { return video::readInputSource().map(sourceName); };
  change.write = [wanted] { return video::setInputSource(wanted); };
  apply(run, change);
}

// No operation tells the state of this line.
void setHotPlug(Run& run, const Arguments& arguments) {
  const bool on = arguments.text("STATE") == "on";
  const DeviceSession session(run);
  Change change;
  change.schema = "video";
  change.key = "receiverHotPlug";
  change.label = "Receiver hot-plug";
  change.wanted = on;
  change.wantedText = on ? "on" : "off";
  change.write = [on] { return video::setReceiverHotPlug(on); };
  apply(run, change);
}

Value receiverNumbers(const video::HdmiRxRawTimingInfo& info) {
  return Value::Members{
      {"hTotal", info.hTotal},         {"vTotal", info.vTotal},       {"hActive", info.hActive},
      {"vActive", info.vActive},       {"hStart", info.hStart},       {"vStart", info.vStart},
      {"hFreq", info.hFreq},           {"vFreq", info.vFreq},         {"hSyncPulse", info.hSyncPulse},
      {"vSyncPulse", info.vSyncPulse}, {"tmdsClock", info.tmdsClock}, {"pllPixelClockX1024", info.pllPixelClockX1024},
  };
}

void addReceiver(Document& document, const video::HdmiRxRawTimingInfo& info) {
  const auto pair = [](int horizontal, int vertical) {
    return QStringLiteral("%1 x %2").arg(horizontal).arg(vertical);
  };
  const auto addCode = [&document](const char* key, const char* label, int code, const QString& text) {
    const Shown shown = coded(code, text);
    document.add(key, label, shown.value, shown.text);
  };
  document.add("scan", "Scan mode", video::scanText(info.flags));
  const Value numbers = receiverNumbers(info);
  for (const auto& [key, value] : numbers.members()) {
    document.addQuietly(key, value);
  }
  document.addText("Numbers in the device's own units, horizontal x vertical");
  document.add("", "Total", {}, pair(info.hTotal, info.vTotal));
  document.add("", "Active", {}, pair(info.hActive, info.vActive));
  document.add("", "Start", {}, pair(info.hStart, info.vStart));
  document.add("", "Frequency", {}, pair(info.hFreq, info.vFreq));
  document.add("", "Sync pulse", {}, pair(info.hSyncPulse, info.vSyncPulse));
  document.add("", "TMDS clock", {}, QString::number(info.tmdsClock));
  document.add("", "PLL pixel clock x 1024", {}, QString::number(info.pllPixelClockX1024));
  addCode("hdmiMode", "Mode", info.hdmiMode, video::hdmiModeText(info.hdmiMode));
  addCode("colorSpace", "Colour space", info.colorSpace, video::colorSpaceText(info.colorSpace));
  addCode("colorDepth", "Colour depth", info.colorDepth, video::colorDepthText(info.colorDepth));
  addCode("colorRange", "Colour range", info.colorRange, video::colorRangeText(info.colorRange));
  document.add("colorimetry", "Colorimetry", info.colorimetry);
  document.add("extColorimetry", "Extended colorimetry", info.extColorimetry);
  addCode("hdcp", "HDCP", info.hdcpVersion, video::rxHdcpText(info.hdcpVersion));
  addCode("hdr", "HDR", info.hdrType, video::hdrText(info.hdrType));
}

Shown timingShown(const video::UvcOutputTiming& timing) {
  return {Value::Members{{"width", timing.width}, {"height", timing.height}, {"frameRateX100", timing.frameRateX100}},
          QStringLiteral("%1 x %2 pixels, %3 frames/s")
              .arg(timing.width)
              .arg(timing.height)
              .arg(timing.frameRateX100 / 100.0, 0, 'f', 2)};
}

}  // namespace

Document readRx() {
  Document document("rx");
  if (const auto record = video::readReceiverRecord()) {
    addReceiver(document, *record);
  } else {
    document.addUnread("receiver", "Receiver", reasonOf(record.error()));
  }
  return document;
}

Document readVideo() {
  Document document("video");
  addReading(document, "source", "Input source", video::readInputSource().map([](InputSource source) {
    return Shown{sourceName(source), source == InputSource::kHdmi ? "HDMI" : "DP"};
  }));
  addReading(document, "sinkPresent", "Sink at transmitter",
             video::readTransmitterHotPlug().map([](std::int32_t state) {
               return Shown{video::isSinkPresent(state), video::isSinkPresent(state) ? "yes" : "no"};
             }));
  addReading(document, "outputTiming", "UVC output", video::readOutputTiming().map(timingShown));
  addReading(document, "outputFormat", "UVC format",
             video::readOutputFormat().map([](std::uint8_t code) { return coded(code, video::uvcFormatText(code)); }));
  return document;
}

Command rxVerb() { return {"rx", "Show what the HDMI receiver measures of its input", {}, {}, showRx}; }

Command videoVerb() {
  Command verb{"video", "Show or set input source, hot-plug and UVC output"};
  verb.commands = {
      {"source",
       "Switch the input source",
       {{"SOURCE", "The input", Option::Takes::kValue, "", {"hdmi", "dp"}, true}},
       {},
       setSource},
      {"hpd",
       "Drive the receiver's hot-plug line",
       {{"STATE", "on tells the source that we are here", Option::Takes::kValue, "", {"on", "off"}, true}},
       {},
       setHotPlug},
  };
  verb.action = showVideo;
  return verb;
}

}  // namespace cli
