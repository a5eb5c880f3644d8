#pragma once

#include "simulator/device/signals.h"

#include <array>
#include <string_view>

namespace simulator {

class Section;
class StateReader;
class StateWriter;

/// The HDMI transmitter (loop-through) and the sink attached to it.
class Transmitter {
 public:
  static constexpr auto kKeys = std::to_array<std::string_view>({"sink"});
  void configure(const Section& scenario);
  void restoreDefaults() { hdcpOn_ = true; }

  void store(StateWriter& writer) const;
  /// @throws StateError
  void restore(StateReader& reader);

  bool sinkPresent() const { return sinkPresent_; }
  void setSinkPresent(bool present) { sinkPresent_ = present; }
  void setHdcp(bool on) { hdcpOn_ = on; }
  /// What the transmitter uses towards the sink: off when switched off, else
  /// what the incoming signal asks for; nothing without a sink.
  Hdcp hdcp(Hdcp incoming) const;

 private:
  bool sinkPresent_ = true;
  bool hdcpOn_ = true;
};

}  // namespace simulator
