#include "simulator/library/device_memory.h"

#include "simulator/device/device.h"
#include "simulator/device/state_bytes.h"
#include "simulator/device/status.h"

namespace simulator {
namespace {

void restoreAll(const std::vector<StateRecord>& records, const std::filesystem::path& path, Device& device) try {
  for (const StateRecord& record : records) {
    if (record.part != StatePart::kModel) {
      restore(record, device);
      continue;
    }
    const std::string model = StateReader(record.bytes).text(record.bytes.size());
    if (model != device.modelAndFamily()) {
      throw StateFileError(path,
                           "is the state of a " + model + ", but the scenario describes a " + device.modelAndFamily() +
                               "; name another state file",
                           kBadState);
    }
  }
} catch (const StateError&) {
  throw StateFileError(path, "is damaged; delete it to start with a new device", kBadState);
}

}  // namespace

DeviceMemory::DeviceMemory(const std::filesystem::path& path, Device& device) : file_(path), state_(device) {
  try {
    restoreAll(file_.read(), path, device);
    file_.replace(state_.snapshot(device));
  } catch (const StateFileError&) {
    // The next try would take what it finds in the device for the factory's.
    state_.restoreFactory(device);
    throw;
  }
}

void DeviceMemory::save(Device& device) {
  const std::vector<StateRecord> changes = state_.changes(device);
  if (!changes.empty()) {
    file_.append(changes);
  }
  if (file_.isLong()) {
    file_.replace(state_.snapshot(device));
  }
}

}  // namespace simulator
