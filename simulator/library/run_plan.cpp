#include "simulator/library/run_plan.h"

#include "simulator/scenario/scenario_tree.h"

namespace simulator {
namespace {

constexpr auto kClocks = std::to_array<Choice<bool>>({{"real", false}, {"virtual", true}});  // whether it skips waiting
constexpr std::size_t kMaxDescription = 200;
constexpr std::size_t kMaxPath = 4096;

}  // namespace

void RunPlan::configure(const Section& scenario) {
  scenario.text("description", kMaxDescription);  // for the user who chooses a scenario
  skipsWaiting = scenario.choice("clock", kClocks).value_or(false);
  speedFactor = scenario.number("speedFactor", 0.001, 1e6).value_or(speedFactor);
  latency = scenario.milliseconds("latencyMs", 0, 60'000).value_or(latency);
  if (const auto after = scenario.milliseconds("nextUnitAfterMs", 0)) {
    nextUnitAfter = *after;
  }
  if (const auto path = scenario.text("stateFile", kMaxPath)) {
    stateFile = std::u8string(path->begin(), path->end());
  }
}

}  // namespace simulator
