#include "simulator/device/transmitter.h"

namespace simulator {
namespace {

constexpr std::array<std::string_view, 1> kSinkKeys{"present"};

}  // namespace

void Transmitter::configure(const Section& scenario) {
  if (const auto sink = scenario.section("sink", kSinkKeys)) {
    sinkPresent_ = sink->boolean("present").value_or(sinkPresent_);
  }
}

Hdcp Transmitter::hdcp(Hdcp incoming) const {
  if (!hdcpOn_) {
    return Hdcp::kOff;
  }
  return sinkPresent_ ? incoming : Hdcp::kNone;
}

}  // namespace simulator
