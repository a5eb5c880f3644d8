#include "audio/audio_calls.h"
#include "audio/audio_codes.h"
#include "cli/change.h"
#include "cli/device_session.h"
#include "cli/readings.h"
#include "cli/verb.h"

#include <limits>

namespace cli {
namespace {

using Gains = std::numeric_limits<std::int16_t>;

void showAudio(Run& run, const Arguments&) {
  const DeviceSession session(run);
  run.finish(readAudio());
}

std::int16_t gainArgument(Run& run, const Arguments& arguments, int least, int most) {
  const auto gain = static_cast<std::int16_t>(arguments.number("GAIN", Gains::min(), Gains::max()));
  run.require(checks::kRange, gain >= least && gain <= most,
              QStringLiteral("a gain of %1 is outside %2 to %3").arg(gain).arg(least).arg(most));
  return gain;
}

Change gainChange(const char* key, const char* label, std::int16_t gain) {
  Change change;
  change.schema = "audio";
  change.key = key;
  change.label = label;
  change.wanted = gain;
  return change;
}

Value gainValue(std::int16_t gain) { return gain; }

void setReceiverGain(Run& run, const Arguments& arguments) {
  const std::int16_t gain = gainArgument(run, arguments, -72, 30);
  const DeviceSession session(run);
  Change change = gainChange("receiverGain", "Receiver gain", gain);
  change.read = [] { return audio::readReceiverGain().map(gainValue); };
  change.write = [gain] { return audio::setReceiverGain(gain); };
  apply(run, change);
}

void setHeadphoneGain(Run& run, const Arguments& arguments) {
  const std::int16_t gain = gainArgument(run, arguments, -50, 12);
  const DeviceSession session(run);
  Change change = gainChange("headphoneGain", "Headphone gain", gain);
  change.read = [] { return audio::readHeadphoneGain().map(gainValue); };
  change.write = [gain] { return audio::setHeadphoneGain(gain); };
  apply(run, change);
}

void setMute(Run& run, const Arguments& arguments) {
  const bool muted = arguments.text("STATE") == "on";
  const DeviceSession session(run);
  Change change;
  change.schema = "audio";
  change.key = "headphoneMuted";
  change.label = "Headphone muted";
  change.wanted = muted;
  change.wantedText = muted ? "yes" : "no";
  change.read = [] { return audio::readHeadphoneMute().map([](bool read) { return Value(read); }); };
  change.write = [muted] { return audio::setHeadphoneMute(muted); };
  apply(run, change);
}

}  // namespace

Document readAudio() {
  Document document("audio");
  addReading(document, "format", "Format",
             audio::readFormat().map([](std::uint8_t code) { return coded(code, audio::formatText(code)); }));
  addReading(document, "samplingRate", "Sampling rate", audio::readSamplingRate().map([](std::uint8_t code) {
    return coded(code, audio::samplingRateText(code).value_or(QString(audio::kUnknownText)));
  }));
  addReading(document, "receiverGain", "Receiver gain",
             audio::readReceiverGain().map([](std::int16_t gain) { return Shown{gain}; }));
  addReading(document, "headphoneGain", "Headphone gain",
             audio::readHeadphoneGain().map([](std::int16_t gain) { return Shown{gain}; }));
  addReading(document, "headphoneMuted", "Headphone muted", audio::readHeadphoneMute().map([](bool muted) {
    return Shown{muted, muted ? "yes" : "no"};
  }));
  return document;
}

Command audioVerb() {
  const Option gain{"GAIN", "The gain, in the device's own unit", Option::Takes::kValue, "", {}, true};
  Command verb{"audio", "Show the incoming audio; show or set gains and mute"};
  verb.commands = {
      {"gain", "Set the receiver's volume gain, -72 to 30", {gain}, {}, setReceiverGain},
      {"hp-gain", "Set the headphone output's gain, -50 to 12", {gain}, {}, setHeadphoneGain},
      {"mute",
       "Mute the headphone output, or not",
       {{"STATE", "Muted or not", Option::Takes::kValue, "", {"on", "off"}, true}},
       {},
       setMute},
  };
  verb.action = showAudio;
  return verb;
}

}  // namespace cli
