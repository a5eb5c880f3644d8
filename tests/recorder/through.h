#pragma once

#include "device/operations.h"
#include "recorder/raw_call.h"

#include <QTemporaryDir>

#include <cstdint>
#include <string>

/// Calls of the library's functions through a recorder or a player.
template <typename Target, typename... Parameters, typename... Arguments>
std::int32_t callThrough(Target& target, device::Operation operation, std::int32_t (* /*type*/)(Parameters...),
                         Arguments... arguments) {
  const auto raw = recorder::rawArguments(static_cast<Parameters>(arguments)...);
  if constexpr (requires { target.call(operation, raw); }) {
    return target.call(operation, raw);
  } else {
    return target.call(operation, raw, &recorder::Invoker<std::int32_t (*)(Parameters...)>::invoke);
  }
}

/// THROUGH(recorder, AT_EDID_Set_EDID_mode, 2)
#define THROUGH(target, name, ...) \
  callThrough(target, device::Operation::name, static_cast<decltype(&::name)>(nullptr) __VA_OPT__(, ) __VA_ARGS__)

/// Functions that succeed and do nothing, to combine with others.
namespace quiet_library {
template <typename Function>
struct Succeeding;
template <typename... Parameters>
struct Succeeding<std::int32_t (*)(Parameters...)> {
  static std::int32_t succeed(Parameters...) { return 0; }
};

inline recorder::FunctionTable functions() {
  recorder::FunctionTable table{};
#define OPERATION(name, ...)                                 \
  table[static_cast<std::size_t>(device::Operation::name)] = \
      reinterpret_cast<recorder::AnyFunction>(&Succeeding<decltype(&::name)>::succeed);
#include "device/operations.inc"
#undef OPERATION
  return table;
}

template <typename Function>
void put(recorder::FunctionTable& table, device::Operation operation, Function function) {
  table[static_cast<std::size_t>(operation)] = reinterpret_cast<recorder::AnyFunction>(function);
}
}  // namespace quiet_library

/// A path in the test's own folder.
inline std::filesystem::path pathIn(const QTemporaryDir& folder, const char* name) {
  return std::filesystem::path(folder.path().toStdU16String()) / name;
}
