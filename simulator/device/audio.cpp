#include "simulator/device/audio.h"

#include "simulator/device/state_bytes.h"
#include "simulator/scenario/scenario_tree.h"

namespace simulator {
namespace {

constexpr auto kAudioKeys =
    std::to_array<std::string_view>({"format", "samplingRate", "receiverGain", "headphoneGain", "muted"});

}  // namespace

void Audio::configure(const Section& scenario) {
  if (const auto audio = scenario.section("audio", kAudioKeys)) {
    if (const auto format = audio->integer("format", 0, 255)) {
      format_ = static_cast<std::uint8_t>(*format);
    }
    if (const auto rate = audio->integer("samplingRate", 0, 255)) {
      samplingRate_ = static_cast<std::uint8_t>(*rate);
    }
    settings_.receiverGain =
        static_cast<std::int16_t>(audio->integer("receiverGain", -32768, 32767).value_or(settings_.receiverGain));
    settings_.headphoneGain =
        static_cast<std::int16_t>(audio->integer("headphoneGain", -32768, 32767).value_or(settings_.headphoneGain));
    settings_.muted = audio->boolean("muted").value_or(settings_.muted);
  }
}

void Audio::store(StateWriter& writer) const {
  writer.number(static_cast<std::uint16_t>(settings_.receiverGain));
  writer.number(static_cast<std::uint16_t>(settings_.headphoneGain));
  writer.flag(settings_.muted);
}

void Audio::restore(StateReader& reader) {
  settings_.receiverGain = static_cast<std::int16_t>(reader.number<std::uint16_t>());
  settings_.headphoneGain = static_cast<std::int16_t>(reader.number<std::uint16_t>());
  settings_.muted = reader.flag();
}

std::uint8_t Audio::format(const Signal& signal) const {
  return signal.hasAudio() && format_ ? *format_ : static_cast<std::uint8_t>(signal.audioFormat);
}

std::uint8_t Audio::samplingRate(const Signal& signal) const {
  return signal.hasAudio() && samplingRate_ ? *samplingRate_ : static_cast<std::uint8_t>(signal.samplingRate);
}

}  // namespace simulator
