#include "device/RTICE_SDK_x64.h"
#include "simulator/device/status.h"
#include "simulator/library/journal_text.h"
#include "simulator/library/library.h"

#include <vector>

using simulator::Answer;
using simulator::arguments;
using simulator::Device;
using simulator::hex;
using simulator::I2cTarget;
using simulator::Library;

namespace {

// More than one transfer of the device's controller.
constexpr unsigned kMaxTransfer = 4096;

I2cTarget* targetAt(Device& device, uint8_t bus, uint8_t slave) {
  return bus == simulator::I2cBus::kIndex ? device.i2c.targetAt(slave) : nullptr;
}

}  // namespace

int32_t AT_System_Send_ExternalMCU_cmd(uint8_t bus, uint8_t slave, uint16_t length, const uint8_t* data) {
  return Library::instance().write(
      {__func__, arguments(bus, hex(slave, 2), length, simulator::byteText(data, length))}, [&](Device& device) {
        if (!data || length == 0 || length > kMaxTransfer) {
          return simulator::kInvalidArgument;
        }
        I2cTarget* const target = targetAt(device, bus, slave);
        return target && target->write(slave, device.transfers.arriving({data, length})) ? simulator::kOk
                                                                                         : simulator::kNoAnswer;
      });
}

int32_t AT_System_Get_ExternalMCU_cmd(uint8_t bus, uint8_t slave, unsigned int writeLength, const uint8_t* writeData,
                                      unsigned int readLength, uint8_t* readBuffer) {
  return Library::instance().read(
      {__func__,
       arguments(bus, hex(slave, 2), writeLength, simulator::byteText(writeData, writeLength), readLength),
       {readBuffer, readLength}},
      [&](Device& device) -> Answer {
        if (!writeData || !readBuffer || writeLength == 0 || readLength == 0 || writeLength > kMaxTransfer ||
            readLength > kMaxTransfer) {
          return {simulator::kInvalidArgument};
        }
        I2cTarget* const target = targetAt(device, bus, slave);
        Answer answer{simulator::kOk, std::vector<uint8_t>(readLength)};
        if (!target || !target->read(slave, {writeData, writeLength}, answer.bytes)) {
          return {simulator::kNoAnswer};
        }
        return answer;
      });
}
