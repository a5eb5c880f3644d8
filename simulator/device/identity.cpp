#include "simulator/device/identity.h"

#include "simulator/scenario/scenario_tree.h"

namespace simulator {
namespace {

struct Model {
  std::string_view name;
  std::uint32_t productId;
};

constexpr auto kModels = std::to_array<Model>({{"KVR-7", 0x6B03}, {"KVR-5B", 0x6B02}});
constexpr auto kModelNames = std::to_array<std::string_view>({kModels[0].name, kModels[1].name});

// A USB string descriptor holds at most 126 UTF-16 units.
constexpr std::size_t kMaxUsbString = 126;

}  // namespace

void Identity::configure(const Section& scenario) {
  if (const auto index = scenario.choice("model", kModelNames)) {
    productId_ = kModels[*index].productId;
    model_ = kModels[*index].name;
    product_ = model_;
    uvcName_ = product_ + " Video";
  }
  if (const auto identity = scenario.section("identity", kIdentityKeys)) {
    uvcName_ = identity->text("uvcName", kMaxUsbString).value_or(uvcName_);
    manufacturer_ = identity->text("manufacturer", kMaxUsbString).value_or(manufacturer_);
    product_ = identity->text("product", kMaxUsbString).value_or(product_);
  }
}

}  // namespace simulator
