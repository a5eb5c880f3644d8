#include "simulator/scenario/scenario.h"

#include "simulator/scenario/error_line.h"
#include "simulator/scenario/scenario_tree.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace simulator {
namespace {

constexpr std::size_t kMaxFileSize = std::size_t{1024} * 1024;

/// All keys of a device: each part names its own.
std::vector<std::string_view> unitKeys() {
  std::vector<std::string_view> keys;
  const auto add = [&keys](std::span<const std::string_view> more) {
    keys.insert(keys.end(), more.begin(), more.end());
  };
  add(Identity::kKeys);
  add(Receiver::kKeys);
  add(Transmitter::kKeys);
  add(Audio::kKeys);
  add(EdidStore::kKeys);
  add(ExternalMcu::kKeys);
  add(Device::kKeys);
  add(FaultPlan::kKeys);
  return keys;
}

/// All keys of the outermost object.
std::vector<std::string_view> scenarioKeys() {
  std::vector<std::string_view> keys = unitKeys();
  keys.insert(keys.end(), RunPlan::kKeys.begin(), RunPlan::kKeys.end());
  return keys;
}

std::unique_ptr<Device> makeDevice(const RunPlan& plan, const Section& scenario) {
  auto device = std::make_unique<Device>();
  device->clock.setSpeedFactor(plan.speedFactor);
  if (plan.skipsWaiting) {
    device->clock.skipWaiting();
  }
  device->configure(scenario);
  return device;
}

std::string nameOf(const std::filesystem::path& path) {
  const std::u8string name = path.u8string();
  return {name.begin(), name.end()};
}

[[noreturn]] void failFile(const std::filesystem::path& path, const std::string& text) {
  throw std::runtime_error(errorLine(path, text));
}

/// What a variable says; empty when it is unset.
std::filesystem::path pathFromEnvironment([[maybe_unused]] const char* name, [[maybe_unused]] const wchar_t* wideName) {
#if defined(_WIN32)
  const wchar_t* const path = _wgetenv(wideName);
#else
  const char* const path = std::getenv(name);
#endif
  return path ? std::filesystem::path(path) : std::filesystem::path();
}

}  // namespace

Scenario readScenario(std::string_view json, const std::string& name) {
  try {
    const ScenarioValue tree = parseScenario(json);
    const Section root(tree, "", scenarioKeys());
    Scenario scenario;
    scenario.plan.configure(root);
    const std::vector<Section> units = root.sections("units", unitKeys());
    scenario.device = makeDevice(scenario.plan, root);
    if (!units.empty()) {
      scenario.device->configure(units.front());
    }
    for (std::size_t i = 1; i < units.size(); ++i) {
      scenario.laterUnits.push_back(makeDevice(scenario.plan, root));
      scenario.laterUnits.back()->configure(units[i]);
    }
    return scenario;
  } catch (const ScenarioError& error) {
    throw std::runtime_error(errorLine(name + ":" + std::to_string(error.line()) + ": " + error.what()));
  }
}

Scenario readScenarioFile(const std::filesystem::path& path) {
  std::error_code error;
  // A pipe or a device could block us permanently.
  if (!std::filesystem::is_regular_file(path, error)) {
    failFile(path, "is no regular file; name a JSON file in RTICE_SIMULATOR_SCENARIO");
  }
  std::ifstream file(path, std::ios::binary);
  std::string json(kMaxFileSize + 1, '\0');
  file.read(json.data(), static_cast<std::streamsize>(json.size()));
  if (!file.is_open() || file.bad()) {
    failFile(path, "cannot be read; check its permissions");
  }
  json.resize(static_cast<std::size_t>(file.gcount()));
  if (json.size() > kMaxFileSize) {
    failFile(path, "is larger than 1 MiB; no scenario needs that");
  }
  return readScenario(json, nameOf(path));
}

std::filesystem::path scenarioPathFromEnvironment() {
  return pathFromEnvironment("RTICE_SIMULATOR_SCENARIO", L"RTICE_SIMULATOR_SCENARIO");
}

std::filesystem::path statePathFromEnvironment() {
  return pathFromEnvironment("RTICE_SIMULATOR_STATE", L"RTICE_SIMULATOR_STATE");
}

}  // namespace simulator
