#include "device/RTICE_SDK_x64.h"
#include "simulator/device/host_file.h"
#include "simulator/device/status.h"
#include "simulator/library/caller_buffer.h"
#include "simulator/library/journal_text.h"
#include "simulator/library/library.h"

#include <string>
#include <vector>

using simulator::Answer;
using simulator::arguments;
using simulator::Device;
using simulator::Library;
using simulator::Provisioning;

int32_t burnHDCP(const char* path) {
  return Library::instance().write({__func__, simulator::quoted(path)}, [&](Device& device) {
    if (!path) {
      return simulator::kInvalidArgument;
    }
    auto key = simulator::readHostFile(path, Provisioning::kMaxKeySize);
    if (!key) {
      return simulator::kBadFile;
    }
    device.provisioning.storeKey(device.transfers.arriving(*key));
    device.spend(Provisioning::kKeyTime);
    return simulator::kOk;
  });
}

int32_t AT_USB_Get_SerialNum(uint8_t* buffer, uint32_t capacity, uint32_t* length) {
  return Library::instance().read(
      {__func__, arguments(capacity), {buffer, capacity}, length}, [&](Device& device) -> Answer {
        if (!buffer || !length) {
          return {simulator::kInvalidArgument};
        }
        const std::string& serialNumber = device.provisioning.serialNumber();
        // A serial number that fills the buffer has no terminator.
        Answer answer = serialNumber.size() == capacity ? simulator::textAnswer(serialNumber, capacity)
                                                        : simulator::terminatedTextAnswer(serialNumber, capacity);
        if (answer.status == simulator::kOk) {
          *length = static_cast<uint32_t>(serialNumber.size());
        }
        return answer;
      });
}

int32_t AT_USB_Set_SerialNum(const uint8_t* bytes, uint32_t length) {
  return Library::instance().write({__func__, arguments(simulator::byteText(bytes, length), length)},
                                   [&](Device& device) {
                                     if (!bytes || length == 0 || length > Provisioning::kMaxSerialNumber) {
                                       return simulator::kInvalidArgument;
                                     }
                                     const std::vector<uint8_t> arrived = device.transfers.arriving({bytes, length});
                                     device.provisioning.setSerialNumber(std::string(arrived.begin(), arrived.end()));
                                     return simulator::kOk;
                                   });
}

int32_t AT_RestoreToDefault() {
  return Library::instance().write({__func__}, [](Device& device) {
    device.restoreDefaults();
    return simulator::kOk;
  });
}

int32_t AT_Set_System_Reboot() {
  return Library::instance().write({__func__}, [](Device& device) {
    device.restart();
    return simulator::kOk;
  });
}
