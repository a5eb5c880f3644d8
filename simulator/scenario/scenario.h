/// @file
/// From a scenario's text or file to a device and the plan of its run.
#pragma once

#include "simulator/device/device.h"
#include "simulator/library/run_plan.h"

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

struct Scenario {
  std::unique_ptr<Device> device = std::make_unique<Device>();
  std::vector<std::unique_ptr<Device>> laterUnits;  ///< plugged in one after the other behind `device`
  RunPlan plan;
};

/// @param name what error texts call the text
/// @throws std::runtime_error with one printable line: name, line, key, remedy
Scenario readScenario(std::string_view json, const std::string& name);

/// As `readScenario`, from a regular file of at most 1 MiB.
Scenario readScenarioFile(const std::filesystem::path& path);

/// The file that RTICE_SIMULATOR_SCENARIO names; empty when it is unset or empty.
std::filesystem::path scenarioPathFromEnvironment();
/// The file that RTICE_SIMULATOR_STATE names; empty when it is unset or empty.
std::filesystem::path statePathFromEnvironment();

}  // namespace simulator
