#pragma once

#include "device/RTICE_SDK_x64.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

/// What the device library's operations look like, for programs that handle all
/// of them alike: forwarding, recording, injecting faults. Made from
/// device/operations.inc. Needs no device library to link with.
namespace device {

/// The operations, under the names of their C functions.
enum class Operation : std::uint8_t {
#define OPERATION(name, ...) name,
#include "device/operations.inc"
#undef OPERATION
};

/// What an operation is for.
enum class Kind : std::uint8_t {
  kSession,  ///< opens or closes; needs no open port
  kRead,     ///< leaves the device as it is
  kChange,   ///< changes the device
};

/// What the result of an operation says.
enum class ResultMeaning : std::uint8_t {
  kStatus,      ///< 0 = success, anything else failure
  kTextLength,  ///< the length of a text in bytes; negative = failure
};

enum class Direction : std::uint8_t {
  kValue,     ///< an integer, passed by value
  kInput,     ///< a pointer to bytes that the library reads
  kOutput,    ///< a pointer to bytes that the library writes
  kText,      ///< a pointer to NUL-terminated text that the library reads
  kProgress,  ///< a callback
};

/// One parameter of an operation.
struct Parameter {
  std::string_view name;
  Direction direction;
  std::uint32_t bytes = 0;                    ///< input and output: size, unless another parameter says it
  std::optional<std::size_t> countedBy = {};  ///< input and output: the parameter whose value is the size in bytes
};

/// One operation.
struct OperationDescription {
  static constexpr std::size_t kMaxParameters = 6;

  Operation id;
  std::string_view name;  ///< of the C function; NUL-terminated
  Kind kind;
  ResultMeaning result;
  std::size_t parameterCount;
  std::array<Parameter, kMaxParameters> parameterSlots;  ///< the first `parameterCount` are in use

  constexpr std::span<const Parameter> parameters() const { return std::span(parameterSlots).first(parameterCount); }
  constexpr bool failed(std::int32_t status) const {
    return result == ResultMeaning::kTextLength ? status < 0 : status != 0;
  }
};

namespace operation_table {

/// The size of a parameter that another one tells.
struct CountedBy {
  std::size_t parameter;
};

constexpr CountedBy countedBy(std::size_t parameter) { return {parameter}; }
constexpr Parameter value(std::string_view name) { return {name, Direction::kValue}; }
constexpr Parameter input(std::string_view name, std::uint32_t bytes) { return {name, Direction::kInput, bytes}; }
constexpr Parameter input(std::string_view name, CountedBy size) {
  return {name, Direction::kInput, 0, size.parameter};
}
constexpr Parameter output(std::string_view name, std::uint32_t bytes) { return {name, Direction::kOutput, bytes}; }
constexpr Parameter output(std::string_view name, CountedBy size) {
  return {name, Direction::kOutput, 0, size.parameter};
}
constexpr Parameter text(std::string_view name) { return {name, Direction::kText}; }
constexpr Parameter progress(std::string_view name) { return {name, Direction::kProgress}; }

template <typename... Parameters>
constexpr OperationDescription describe(Operation id, std::string_view name, Kind kind, ResultMeaning result,
                                        Parameters... parameters) {
  static_assert(sizeof...(parameters) <= OperationDescription::kMaxParameters);
  return {id, name, kind, result, sizeof...(parameters), {parameters...}};
}

inline constexpr std::array kTable{
#define OPERATION(name, kind, result, declaration, arguments, ...) \
  describe(Operation::name, #name, Kind::kind, ResultMeaning::result __VA_OPT__(, ) __VA_ARGS__),
#include "device/operations.inc"
#undef OPERATION
};

}  // namespace operation_table

/// All operations, in the header's order; the index is that of `Operation`.
inline constexpr auto& kOperations = operation_table::kTable;

/// Their names alone.
inline constexpr auto kOperationNames = [] {
  std::array<std::string_view, kOperations.size()> names{};
  for (std::size_t i = 0; i < names.size(); ++i) {
    names[i] = kOperations[i].name;
  }
  return names;
}();

constexpr const OperationDescription& describe(Operation operation) {
  return kOperations[static_cast<std::size_t>(operation)];
}

/// The operation of that name, or null.
constexpr const OperationDescription* findOperation(std::string_view name) {
  for (const OperationDescription& operation : kOperations) {
    if (operation.name == name) {
      return &operation;
    }
  }
  return nullptr;
}

constexpr std::size_t countOf(Kind kind) {
  std::size_t count = 0;
  for (const OperationDescription& operation : kOperations) {
    count += operation.kind == kind ? 1 : 0;
  }
  return count;
}

}  // namespace device
