/// @file
/// Holds the description of the operations against the library's header, while
/// this is compiled.
#include "device/operations.h"

#include <concepts>
#include <type_traits>

namespace device {
namespace {

template <typename Argument>
constexpr bool fits(const Parameter& parameter) {
  if constexpr (std::same_as<Argument, RTICE_ProgressCallback>) {
    return parameter.direction == Direction::kProgress;
  } else if constexpr (std::same_as<Argument, const char*>) {
    return parameter.direction == Direction::kText;
  } else if constexpr (std::is_pointer_v<Argument>) {
    using Target = std::remove_pointer_t<Argument>;
    const bool directionFits =
        parameter.direction == (std::is_const_v<Target> ? Direction::kInput : Direction::kOutput);
    // Single bytes may stand for records of any size.
    const bool sizeFits = parameter.countedBy   ? sizeof(Target) == 1 && parameter.bytes == 0
                          : sizeof(Target) == 1 ? parameter.bytes > 0
                                                : parameter.bytes == sizeof(Target);
    return directionFits && sizeFits;
  } else {
    return std::integral<Argument> && parameter.direction == Direction::kValue;
  }
}

constexpr bool sizesAreTold(const OperationDescription& operation) {
  for (const Parameter& parameter : operation.parameters()) {
    if (parameter.countedBy && (*parameter.countedBy >= operation.parameterCount ||
                                operation.parameters()[*parameter.countedBy].direction != Direction::kValue)) {
      return false;
    }
  }
  return true;
}

template <typename... Arguments>
constexpr bool isDescribed(std::int32_t (*)(Arguments...), const OperationDescription& operation) {
  if (sizeof...(Arguments) != operation.parameterCount || !sizesAreTold(operation)) {
    return false;
  }
  [[maybe_unused]] std::size_t next = 0;  // newer compilers find none to count in an empty list
  return (fits<Arguments>(operation.parameterSlots[next++]) && ...);
}

// A function of the declared type stands in for the library's, which is not
// there to be linked with.
#define OPERATION(name, kind, result, declaration, arguments, ...)                                         \
  static_assert(std::same_as<decltype(::name), std::int32_t declaration>, #name " is declared otherwise"); \
  static_assert(isDescribed(static_cast<decltype(&::name)>(nullptr), describe(Operation::name)),           \
                #name " is described wrongly");
#include "device/operations.inc"
#undef OPERATION

static_assert(kOperations.size() == 44);
static_assert(countOf(Kind::kSession) == 5 && countOf(Kind::kRead) == 23 && countOf(Kind::kChange) == 16);

}  // namespace
}  // namespace device
