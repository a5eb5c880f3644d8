#include "simulator/audio.h"

namespace simulator {
namespace {

constexpr std::array<std::string_view, 5> kAudioKeys{"format", "samplingRate", "receiverGain", "headphoneGain",
                                                     "muted"};

}  // namespace

void Audio::configure(const Section& scenario) {
  if (const auto audio = scenario.section("audio", kAudioKeys)) {
    format_ = static_cast<std::uint8_t>(audio->integer("format", 0, 255).value_or(format_));
    samplingRate_ = static_cast<std::uint8_t>(audio->integer("samplingRate", 0, 255).value_or(samplingRate_));
    settings_.receiverGain =
        static_cast<std::int16_t>(audio->integer("receiverGain", -32768, 32767).value_or(settings_.receiverGain));
    settings_.headphoneGain =
        static_cast<std::int16_t>(audio->integer("headphoneGain", -32768, 32767).value_or(settings_.headphoneGain));
    settings_.muted = audio->boolean("muted").value_or(settings_.muted);
  }
}

std::uint8_t Audio::format(const Signal& signal) const {
  constexpr std::uint8_t kDvi = 0, kNoAudio = 1;
  switch (signal.link) {
    case Link::kNone:
      return kNoAudio;
    case Link::kDvi:
      return kDvi;
    case Link::kTmds:
    case Link::kFrl:
    case Link::kDisplayPort:
      break;
  }
  return format_;
}

std::uint8_t Audio::samplingRate(const Signal& signal) const {
  constexpr std::uint8_t kNoAudio = 0;
  return signal.link == Link::kNone || signal.link == Link::kDvi ? kNoAudio : samplingRate_;
}

}  // namespace simulator
