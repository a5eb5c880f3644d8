#include "simulator/library/device_memory.h"

#include "simulator/device/device.h"
#include "simulator/device/state_bytes.h"
#include "simulator/device/status.h"

namespace simulator {

DeviceMemory::DeviceMemory(const std::filesystem::path& path, Device& device) : file_(path), state_(device) {
  const std::vector<StateRecord> records = file_.read();
  try {
    for (const StateRecord& record : records) {
      if (record.part == StatePart::kModel) {
        const std::string model = StateReader(record.bytes).text(record.bytes.size());
        if (model != device.modelAndFamily()) {
          throw StateFileError(path,
                               "is the state of a " + model + ", but the scenario describes a " +
                                   device.modelAndFamily() + "; name another state file",
                               kBadState);
        }
        continue;
      }
      restore(record, device);
    }
  } catch (const StateError&) {
    state_.restoreFactory(device);
    throw StateFileError(path, "is damaged; delete it to start with a new device", kBadState);
  }
  file_.replace(state_.snapshot(device));
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
