#pragma once

#include "recorder/raw_call.h"

/// Defines the 44 functions of device/RTICE_SDK_x64.h: each hands its arguments
/// to `handler(operation, arguments, invoke, caller)`, where `caller` is an
/// address in the code that called. Include once, in one file of a library.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name, misc-definitions-in-headers)
#define RECORDER_EXPORT_OPERATION(handler, name, declaration, arguments)                        \
  extern "C" std::int32_t name declaration {                                                    \
    const auto raw = recorder::rawArguments arguments;                                          \
    return handler(device::Operation::name, raw, &recorder::Invoker<decltype(&::name)>::invoke, \
                   __builtin_return_address(0));                                                \
  }
// NOLINTEND(readability-inconsistent-declaration-parameter-name, misc-definitions-in-headers)
