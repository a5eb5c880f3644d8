#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <utility>
#include <vector>

namespace simulator {

class Device;

/// Parts of a device's state, as a state file numbers them.
enum class StatePart : std::uint8_t {
  kModel = 1,
  kEndOfSnapshot,
  kClock,
  kSettings,
  kProvisioning,
  kEdidSlot,
  kMcu,
  kMcuFlash,
  kCaptureChip,
  kCaptureFlash,
  kBoardEeprom,
  kCalibrationEeprom,
};

struct StateRecord {
  StatePart part;
  std::uint16_t index = 0;  ///< of an EDID slot; else 0
  std::vector<std::uint8_t> bytes;
};

/// Puts a record's part of the state into a device.
/// @throws StateError when no device can have that state
void restore(const StateRecord& record, Device& device);

/// Tells what of a device's state is to be stored: all that a device keeps
/// which stays plugged in while programs come and go.
class DeviceState {
 public:
  /// @param device as its scenario describes it; that state need not be stored
  explicit DeviceState(const Device& device);

  /// Puts the device back to what its scenario describes.
  void restoreFactory(Device& device) const;
  /// All that differs from the scenario's device. A device that they are
  /// restored into is then like this one.
  std::vector<StateRecord> snapshot(Device& device);
  /// What has changed since `snapshot` or `changes` was called last.
  std::vector<StateRecord> changes(Device& device);

 private:
  using Key = std::pair<StatePart, std::uint16_t>;
  using Contents = std::map<Key, std::vector<std::uint8_t>>;

  static Contents contents(const Device& device);
  /// Records of what differs between two states of the same device.
  static void addDifferences(const Contents& from, const Contents& to, std::vector<StateRecord>& records);

  Contents factory_;
  Contents stored_;
};

}  // namespace simulator
