#include "device/RTICE_SDK_x64.h"

#include <cstdint>
#include <cstdio>
#include <initializer_list>

/// Opens whichever model is plugged in and prints the calls' results and the capture
/// version.
int main() {
  std::printf("initialize %d\n", initialize());
  for (const std::uint32_t productId : {0x6B03U, 0x6B02U}) {
    std::printf("setDevice %X %d\n", productId, setDevice(0, 0, 0x5C19, productId));
    if (openPort() == 0) {
      uint8_t version[128] = "";
      std::printf("version %d", AT_Get_Customer_Ver(version));
      std::printf(" %s\n", reinterpret_cast<const char*>(version));
      closePort();
    }
  }
}
