#include "tests/support/overlong_library.h"

#include "device/operations.h"

#include <algorithm>
#include <tuple>
#include <type_traits>

namespace {

std::vector<std::uint8_t> theAnswer;
std::size_t theExcess = 0;
std::int32_t theLength = 0;

template <typename Argument>
std::size_t numberIn(const Argument& argument) {
  if constexpr (std::is_integral_v<Argument>) {
    return static_cast<std::size_t>(argument);
  } else {
    return 0;
  }
}

template <typename Argument, typename Sizes>
void write(const device::Parameter& parameter, Argument argument, const Sizes& numbers) {
  if constexpr (std::is_pointer_v<Argument> && !std::is_const_v<std::remove_pointer_t<Argument>> &&
                !std::is_function_v<std::remove_pointer_t<Argument>>) {
    const std::size_t size = (parameter.countedBy ? numbers[*parameter.countedBy] : parameter.bytes) + theExcess;
    auto* const bytes = reinterpret_cast<std::uint8_t*>(argument);
    const std::size_t given = std::min(size, theAnswer.size());
    std::copy_n(theAnswer.begin(), given, bytes);
    std::fill_n(bytes + given, size - given, std::uint8_t{0x41});
  }
}

template <device::Operation operation, typename... Arguments>
std::int32_t answer(Arguments... arguments) {
  constexpr const device::OperationDescription& kDescription = device::describe(operation);
  [[maybe_unused]] const std::array<std::size_t, sizeof...(arguments) + 1> numbers{numberIn(arguments)..., 0};
  [[maybe_unused]] std::size_t next = 0;
  (write(kDescription.parameterSlots[next++], arguments, numbers), ...);
  return kDescription.result == device::ResultMeaning::kTextLength ? theLength : 0;
}

}  // namespace

void overlong::behave(std::vector<std::uint8_t> answer, std::size_t excess, std::int32_t length) {
  theAnswer = std::move(answer);
  theExcess = excess;
  theLength = length;
}

extern "C" {
#define OPERATION(name, kind, result, declaration, arguments, ...) \
  int32_t name declaration { return answer<device::Operation::name> arguments; }
#include "device/operations.inc"
#undef OPERATION
}
