#include "device/RTICE_SDK_x64.h"
#include "simulator/device/status.h"
#include "simulator/library/journal_text.h"
#include "simulator/library/library.h"

using simulator::arguments;
using simulator::Device;
using simulator::hex;
using simulator::Library;
using simulator::Session;

int32_t initialize() {
  return Library::instance().sessionCall({.operation = __func__, .beginsSession = true},
                                         [](Session& session, Device&) { return session.initialize(); });
}

int32_t setDevice(uint32_t reserved1, uint32_t reserved2, uint32_t vid, uint32_t pid) {
  return Library::instance().sessionCall({__func__, arguments(reserved1, reserved2, hex(vid, 4), hex(pid, 4))},
                                         [&](Session& session, Device& device) {
                                           if (reserved1 != 0 || reserved2 != 0) {
                                             return simulator::kInvalidArgument;
                                           }
                                           return session.setDevice(device, vid, pid);
                                         });
}

int32_t openPort() {
  return Library::instance().sessionCall({__func__},
                                         [](Session& session, Device& device) { return session.openPort(device); });
}

int32_t closePort() {
  return Library::instance().sessionCall({.operation = __func__, .endsSession = true},
                                         [](Session& session, Device& device) { return session.closePort(device); });
}

int32_t uninitialize() {
  return Library::instance().sessionCall({.operation = __func__, .endsSession = true},
                                         [](Session& session, Device&) { return session.uninitialize(); });
}
