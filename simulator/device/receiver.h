#pragma once

#include "simulator/device/signals.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace simulator {

class Section;
class StateReader;
class StateWriter;

/// The HDMI/DP receiver: the signal at each input, the selected input, and
/// whether hot-plug is asserted to the HDMI source.
class Receiver {
 public:
  static constexpr auto kKeys = std::to_array<std::string_view>({"signal", "inputs"});
  void configure(const Section& scenario);
  void restoreDefaults();
  /// Back to the state after power-on; the chosen input is kept.
  void powerCycle() { hotPlug_ = true; }

  void store(StateWriter& writer) const;
  /// @throws StateError
  void restore(StateReader& reader);

  enum Source : std::uint8_t { kHdmi = 0, kDp = 1 };
  Source source() const { return source_; }
  void selectSource(Source source) { source_ = source; }

  /// Whether the signal travels over that input's cable; no signal always does.
  static bool carries(Source source, const Signal& signal);
  /// Changes what arrives at an input that carries the signal.
  void feed(Source source, const Signal& signal) { inputs_[source] = &signal; }

  /// A source that sees no hot-plug sends nothing; the line is HDMI's only.
  void setHotPlug(bool on) { hotPlug_ = on; }

  /// What the receiver is locked to; the signal "none" when there is nothing.
  const Signal& signal() const;

  /// The record of AT_HdmiRX_GetRawTimingInfo. Bytes 0 to 35 are defined, the
  /// rest is zero; without a signal all is zero. Units of this simulator:
  /// - vFreq: 0.01 Hz, fields of an interlaced signal; hFreq: 10 Hz (0.01 kHz)
  /// - tmdsClock: 10 kHz (0.01 MHz) of the TMDS character rate; 0 where there is
  ///   no TMDS clock (DP and HDMI 2.1's fixed rate link)
  /// - pllPixelClockX1024: MHz times 1024
  /// - vTotal and vActive: lines of a whole frame, interlaced or not
  /// - hStart and vStart: from the leading edge of the sync pulse to the first
  ///   active pixel or line (sync width + back porch)
  std::array<std::uint8_t, 48> timingRecord() const;

  /// The record of AT_UVC_Get_Output_Timing: whole frames at the signal's field
  /// or frame rate; all zero without a signal.
  std::array<std::uint8_t, 12> uvcTiming() const;
  /// P010 ("P101") for HDR, NV12 above 1080 lines, else YUYV; 0 without a signal.
  std::uint8_t uvcFormat() const;

 private:
  std::array<const Signal*, 2> inputs_{&defaultSignal(kHdmi), &defaultSignal(kDp)};
  Source source_ = kHdmi;
  bool hotPlug_ = true;

  static const Signal& defaultSignal(Source source);
};

}  // namespace simulator
