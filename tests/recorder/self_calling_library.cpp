/// @file
/// A device library that calls its own functions by name, from the caller's thread and
/// from one of its own.
#include "device/operations.h"

#include <cstring>
#include <thread>

namespace {

template <device::Operation operation, typename... Arguments>
int32_t answer(Arguments...) {
  return 0;
}

template <>
int32_t answer<device::Operation::AT_Get_Customer_Ver>(uint8_t* buffer) {
  std::memcpy(buffer, "inner", 6);
  return 0;
}

template <>
int32_t answer<device::Operation::AT_Get_UVC_Name>(uint8_t* buffer, uint32_t, uint32_t* length) {
  *length = 5;
  int32_t result = AT_Get_Customer_Ver(buffer);
  std::thread([&] { result += AT_Audio_Set_HPOUTgain(nullptr); }).join();
  return result;
}

}  // namespace

extern "C" {
#define OPERATION(name, kind, result, declaration, arguments, ...) \
  int32_t name declaration { return answer<device::Operation::name> arguments; }
#include "device/operations.inc"
#undef OPERATION
}
