#pragma once

#include "simulator/device/signals.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace simulator {

class Section;
class StateReader;
class StateWriter;

/// The audio path: codes of the incoming audio, two gains and the headphone mute.
class Audio {
 public:
  static constexpr auto kKeys = std::to_array<std::string_view>({"audio"});
  void configure(const Section& scenario);
  void restoreDefaults() { settings_ = Settings(); }

  void store(StateWriter& writer) const;
  /// @throws StateError
  void restore(StateReader& reader);

  /// Codes of AT_Audio_Get_HdmiRX_AudioFormat and ..._AudioSamplingRate: the
  /// signal's own, or the scenario's where the signal has audio at all.
  std::uint8_t format(const Signal& signal) const;
  std::uint8_t samplingRate(const Signal& signal) const;

  struct Settings {
    std::int16_t receiverGain = 0;
    std::int16_t headphoneGain = 0;
    bool muted = false;
  };
  Settings& settings() { return settings_; }

 private:
  std::optional<std::uint8_t> format_;
  std::optional<std::uint8_t> samplingRate_;
  Settings settings_;
};

}  // namespace simulator
