#pragma once

namespace device {

/// The device library's file name on this system.
#ifdef _WIN32
inline constexpr const char* kLibraryName = "RTICE_SDK_x64.dll";
#else
inline constexpr const char* kLibraryName = "libRTICE_SDK_x64.so";
#endif

}  // namespace device
