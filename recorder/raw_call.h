#pragma once

#include "device/operations.h"

#include <array>
#include <concepts>
#include <cstdint>
#include <span>
#include <type_traits>
#include <utility>

/// Calls of the 44 operations without their types, so that one piece of code
/// serves all of them.
namespace recorder {

/// An argument as it is passed: a number, or where a pointer points.
struct RawArgument {
  std::int64_t number = 0;
  std::uintptr_t address = 0;
};

/// Any of the 44 functions.
using AnyFunction = void (*)();

/// The 44 functions, by `device::Operation`.
using FunctionTable = std::array<AnyFunction, device::kOperations.size()>;

/// Calls a function of the type that the instantiation knows.
using Invoke = std::int32_t (*)(AnyFunction function, std::span<const RawArgument> arguments);

template <typename Argument>
RawArgument rawArgument(Argument argument) {
  if constexpr (std::integral<Argument>) {
    return {static_cast<std::int64_t>(argument), 0};
  } else {
    return {0, reinterpret_cast<std::uintptr_t>(argument)};
  }
}

template <typename... Arguments>
std::array<RawArgument, sizeof...(Arguments)> rawArguments(Arguments... arguments) {
  return {rawArgument(arguments)...};
}

template <typename Argument>
Argument typedArgument(const RawArgument& argument) {
  if constexpr (std::integral<Argument>) {
    return static_cast<Argument>(argument.number);
  } else {
    return reinterpret_cast<Argument>(argument.address);  // NOLINT(performance-no-int-to-ptr): was one before
  }
}

template <typename Function>
struct Invoker;

template <typename... Arguments>
struct Invoker<std::int32_t (*)(Arguments...)> {
  static std::int32_t invoke(AnyFunction function, std::span<const RawArgument> arguments) {
    return call(function, arguments, std::index_sequence_for<Arguments...>());
  }

 private:
  template <std::size_t... index>
  static std::int32_t call(AnyFunction function, std::span<const RawArgument> arguments,
                           std::index_sequence<index...> /*all*/) {
    static_cast<void>(arguments);  // of operations without any
    return reinterpret_cast<std::int32_t (*)(Arguments...)>(function)(typedArgument<Arguments>(arguments[index])...);
  }
};

}  // namespace recorder
