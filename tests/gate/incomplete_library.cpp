// The 44 operations, the last one under another name.
#include <cstdint>

#ifdef _WIN32
#define EXPORTED extern "C" __declspec(dllexport)
#else
#define EXPORTED extern "C" __attribute__((visibility("default")))
#endif

#pragma GCC diagnostic ignored "-Wunused-parameter"

using RTICE_ProgressCallback = void (*)(float);

#define AT_SetHDMI_HDCP_OnOff someOtherName  // NOLINT
#define OPERATION(name, kind, result, declaration, ...) \
  EXPORTED std::int32_t name declaration { return 0; }
#include "device/operations.inc"
#undef OPERATION
