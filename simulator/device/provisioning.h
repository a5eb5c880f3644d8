#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace simulator {

class Section;
class StateReader;
class StateWriter;

/// What production writes into the device once: serial number and HDCP key.
/// Neither a restart nor the factory defaults touch it.
class Provisioning {
 public:
  static constexpr std::size_t kMaxSerialNumber = 100;
  static constexpr std::size_t kMaxKeySize = std::size_t{64} * 1024;
  static constexpr std::chrono::milliseconds kKeyTime{300};

  void configure(const Section& scenario);

  void store(StateWriter& writer) const;
  /// @throws StateError
  void restore(StateReader& reader);

  const std::string& serialNumber() const { return serialNumber_; }
  void setSerialNumber(std::string serialNumber) { serialNumber_ = std::move(serialNumber); }
  const std::vector<std::uint8_t>& key() const { return key_; }
  void storeKey(std::vector<std::uint8_t> key) { key_ = std::move(key); }

 private:
  std::string serialNumber_ = "OV7A00001234";
  std::vector<std::uint8_t> key_;
};

}  // namespace simulator
