#include "simulator/library/run_plan.h"

#include "simulator/scenario/scenario_tree.h"

namespace simulator {
namespace {

constexpr std::array<std::string_view, 2> kClocks{"real", "virtual"};
constexpr std::size_t kMaxDescription = 200;
constexpr std::size_t kMaxPath = 4096;
constexpr double kMaxMilliseconds = 1e9;

std::chrono::nanoseconds fromMilliseconds(double milliseconds) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double, std::milli>(milliseconds));
}

}  // namespace

void RunPlan::configure(const Section& scenario) {
  scenario.text("description", kMaxDescription);  // for whoever chooses a scenario
  skipsWaiting = scenario.choice("clock", kClocks) == 1U;
  speedFactor = scenario.number("speedFactor", 0.001, 1e6).value_or(speedFactor);
  if (const auto milliseconds = scenario.number("latencyMs", 0, 60'000)) {
    latency = fromMilliseconds(*milliseconds);
  }
  if (const auto milliseconds = scenario.number("nextUnitAfterMs", 0, kMaxMilliseconds)) {
    nextUnitAfter = fromMilliseconds(*milliseconds);
  }
  if (const auto path = scenario.text("stateFile", kMaxPath)) {
    stateFile = std::u8string(path->begin(), path->end());
  }
}

}  // namespace simulator
