#include "simulator/device/transmitter.h"

#include "simulator/device/state_bytes.h"
#include "simulator/scenario/scenario_tree.h"

namespace simulator {
namespace {

constexpr auto kSinkKeys = std::to_array<std::string_view>({"present"});

}  // namespace

void Transmitter::configure(const Section& scenario) {
  if (const auto sink = scenario.section("sink", kSinkKeys)) {
    sinkPresent_ = sink->boolean("present").value_or(sinkPresent_);
  }
}

void Transmitter::store(StateWriter& writer) const { writer.flag(hdcpOn_); }

void Transmitter::restore(StateReader& reader) { hdcpOn_ = reader.flag(); }

Hdcp Transmitter::hdcp(Hdcp incoming) const {
  if (!hdcpOn_) {
    return Hdcp::kOff;
  }
  return sinkPresent_ ? incoming : Hdcp::kNone;
}

}  // namespace simulator
