/// @file
/// Defines the 44 functions of device/RTICE_SDK_x64.h.
#include "gate/table.h"

#include <chrono>

namespace gate {
namespace {

template <typename Function, typename Call>
std::int32_t forward(device::Operation id, Call call) {
  Table& table = Table::instance();
  const device::OperationDescription& operation = device::describe(id);
  if (operation.kind == device::Kind::kChange && table.refusesChanges) {
    ++table.refusedCalls;
    return kRefused;
  }
  const LoadedFile::Function loaded = table.functions[static_cast<std::size_t>(id)];
  if (loaded == nullptr) {
    return kNotLoaded;
  }
  const auto function = reinterpret_cast<Function>(loaded);
  if (!table.observer) {
    return call(function);
  }
  const auto start = std::chrono::steady_clock::now();
  const std::int32_t result = call(function);
  table.observer(operation, result, std::chrono::steady_clock::now() - start);
  return result;
}

}  // namespace
}  // namespace gate

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name, misc-unused-parameters)
#define OPERATION(name, kind, result, declaration, arguments, ...)                                              \
  extern "C" std::int32_t name declaration {                                                                    \
    return gate::forward<decltype(&::name)>(device::Operation::name,                                            \
                                            [&](auto function) -> std::int32_t { return function arguments; }); \
  }
#include "device/operations.inc"
#undef OPERATION
// NOLINTEND(readability-inconsistent-declaration-parameter-name, misc-unused-parameters)

#ifdef _WIN32
// Callers were compiled to go through a DLL's import table; this is that table.
#define OPERATION(name, ...)                \
  extern "C" {                              \
  extern decltype(&::name) __imp_##name;    \
  decltype(&::name) __imp_##name = &::name; \
  }
#include "device/operations.inc"
#undef OPERATION
#endif
