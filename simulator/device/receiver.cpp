#include "simulator/device/receiver.h"

#include "simulator/device/little_endian.h"
#include "simulator/device/state_bytes.h"
#include "simulator/scenario/scenario_tree.h"

namespace simulator {
namespace {

constexpr auto kInputsKeys = std::to_array<std::string_view>({"source", "hdmi", "dp"});
constexpr auto kSources = std::to_array<Choice<Receiver::Source>>({{"hdmi", Receiver::kHdmi}, {"dp", Receiver::kDp}});

/// HDMI mode codes of the record.
std::uint8_t modeCode(Link link) {
  switch (link) {
    case Link::kTmds:
      return 1;
    case Link::kFrl:
      return 2;
    case Link::kDisplayPort:
      return 3;
    case Link::kNone:
    case Link::kDvi:
      return 0;
  }
  return 0;
}

const Signal& signalNamed(std::string_view name) {
  for (const Signal& signal : signalTable()) {
    if (signal.name == name) {
      return signal;
    }
  }
  return signalTable().front();
}

}  // namespace

const Signal& Receiver::defaultSignal(Source source) { return signalNamed(source == kHdmi ? "1080p60" : "1440p144"); }

void Receiver::configure(const Section& scenario) {
  if (const auto index = scenario.choice("signal", signalNames())) {
    const Signal& signal = signalTable()[*index];
    source_ = signal.link == Link::kDisplayPort ? kDp : kHdmi;
    inputs_[source_] = &signal;
  }
  if (const auto inputs = scenario.section("inputs", kInputsKeys)) {
    for (const auto& [input, source] : kSources) {
      if (const auto index = inputs->choice(input, signalNames())) {
        const Signal& signal = signalTable()[*index];
        if (!carries(source, signal)) {
          inputs->fail(input, "cannot be \"" + std::string(signal.name) + "\", which travels over " +
                                  (source == kHdmi ? "DP" : "HDMI"));
        }
        feed(source, signal);
      }
    }
    source_ = inputs->choice("source", kSources).value_or(source_);
  }
}

bool Receiver::carries(Source source, const Signal& signal) {
  return signal.link == Link::kNone || (signal.link == Link::kDisplayPort) == (source == kDp);
}

void Receiver::restoreDefaults() {
  source_ = kHdmi;
  hotPlug_ = true;
}

void Receiver::store(StateWriter& writer) const {
  writer.number(static_cast<std::uint8_t>(source_));
  writer.flag(hotPlug_);
}

void Receiver::restore(StateReader& reader) {
  source_ = static_cast<Source>(reader.number<std::uint8_t>(kDp));
  hotPlug_ = reader.flag();
}

const Signal& Receiver::signal() const {
  return source_ == kHdmi && !hotPlug_ ? signalTable().front() : *inputs_[source_];
}

std::array<std::uint8_t, 48> Receiver::timingRecord() const {
  std::array<std::uint8_t, 48> record{};
  const Signal& now = signal();
  if (now.link == Link::kNone) {
    return record;
  }
  record[0x00] = now.interlaced ? 1 : 0;
  writeU16le(record, 0x02, now.vTotal);
  writeU16le(record, 0x04, now.hTotal());
  writeU16le(record, 0x06, now.vertical.active);
  writeU16le(record, 0x08, now.horizontal.active);
  writeU16le(record, 0x0A, now.vertical.sync + now.vertical.backPorch);
  writeU16le(record, 0x0C, now.horizontal.sync + now.horizontal.backPorch);
  writeU16le(record, 0x0E, now.rateX100());
  writeU16le(record, 0x10, now.lineRateX100());
  record[0x12] = static_cast<std::uint8_t>(now.hdr);
  writeU16le(record, 0x13, now.vertical.sync);
  writeU16le(record, 0x15, now.horizontal.sync);
  record[0x17] = modeCode(now.link);
  record[0x18] = static_cast<std::uint8_t>(now.colorDepth);
  record[0x19] = static_cast<std::uint8_t>(now.colorSpace);
  record[0x1A] = static_cast<std::uint8_t>(now.colorRange);
  record[0x1B] = now.colorimetry;
  record[0x1C] = now.extColorimetry;
  record[0x1D] = static_cast<std::uint8_t>(now.hdcp);
  writeU16le(record, 0x1E, now.tmdsClockX100());
  writeU32le(record, 0x20, now.pixelClockX1024());
  return record;
}

std::array<std::uint8_t, 12> Receiver::uvcTiming() const {
  std::array<std::uint8_t, 12> record{};
  const Signal& now = signal();
  writeU32le(record, 0, now.horizontal.active);
  writeU32le(record, 4, now.vertical.active);
  writeU32le(record, 8, now.rateX100());
  return record;
}

std::uint8_t Receiver::uvcFormat() const {
  constexpr std::uint8_t kNone = 0, kNv12 = 1, kYuyv = 4, kP010 = 7;
  const Signal& now = signal();
  if (now.link == Link::kNone) {
    return kNone;
  }
  if (now.hdr != Hdr::kSdr) {
    return kP010;
  }
  return now.vertical.active > 1080 ? kNv12 : kYuyv;
}

}  // namespace simulator
