#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace simulator {

class Section;

/// Which model is plugged in and what it calls itself.
class Identity {
 public:
  static constexpr auto kKeys = std::to_array<std::string_view>({"model", "identity"});
  /// Of the section "identity", which the capture flash and the provisioning
  /// read as well.
  static constexpr auto kIdentityKeys =
      std::to_array<std::string_view>({"captureVersion", "uvcName", "manufacturer", "product", "serialNumber"});
  void configure(const Section& scenario);

  std::uint32_t vendorId() const { return 0x5C19; }
  /// Name of the model, whatever the device calls itself.
  const std::string& model() const { return model_; }
  std::uint32_t productId() const { return productId_; }
  const std::string& uvcName() const { return uvcName_; }
  const std::string& manufacturer() const { return manufacturer_; }
  const std::string& product() const { return product_; }

 private:
  std::uint32_t productId_ = 0x6B03;
  std::string model_ = "KVR-7";
  std::string product_ = "KVR-7";
  std::string uvcName_ = "KVR-7 Video";
  std::string manufacturer_ = "Orvenhal";
};

}  // namespace simulator
