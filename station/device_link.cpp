#include "station/device_link.h"

#include "session/connection.h"
#include "session/identity_calls.h"

#include <array>
#include <tuple>

namespace station {
namespace {

using namespace std::chrono_literals;

// Short beside what a unit takes, long beside what a look costs.
constexpr auto kLookEvery = 20ms;
// While nothing is to be won by haste.
constexpr auto kIdleLookEvery = 100ms;
// One failed read is no unplugged unit.
constexpr int kSilentLooks = 3;

}  // namespace

void DeviceLink::close() {
  if (isOpen_) {
    std::ignore = session::closeSession();
    std::ignore = session::releaseLibrary();
    isOpen_ = false;
  }
}

bool DeviceLink::tryOpen(QString* reason) {
  static constexpr std::array kSteps{"initialize", "setDevice", "openPort"};
  close();
  const auto opened = session::openSession(ids_);
  if (!opened) {
    *reason = QStringLiteral("%1 returned status %2")
                  .arg(QLatin1String(kSteps[static_cast<std::size_t>(opened.error().step)]))
                  .arg(opened.error().status);
    return false;
  }
  isOpen_ = true;
  return true;
}

DeviceLink::Wait DeviceLink::open(std::optional<std::chrono::milliseconds> within, Identity* identity,
                                  QString* reason) {
  const auto start = outside_.now();
  while (true) {
    if (outside_.stopRequested()) {
      return Wait::kStopped;
    }
    // A port may open while the device is still starting: reads tell.
    if (tryOpen(reason)) {
      const auto found = readIdentity();
      if (found) {
        *identity = *found;
        return Wait::kThere;
      }
      *reason = found.error();
    }
    if (within && outside_.now() - start >= *within) {
      return Wait::kTooLong;
    }
    outside_.pause(within ? kLookEvery : kIdleLookEvery);
  }
}

DeviceLink::Wait DeviceLink::waitUntilUnplugged() {
  int silent = 0;
  while (isOpen_ && silent < kSilentLooks) {
    if (outside_.stopRequested()) {
      return Wait::kStopped;
    }
    silent = session::readUvcName() ? 0 : silent + 1;
    if (silent < kSilentLooks) {
      outside_.pause(kIdleLookEvery);
    }
  }
  close();
  return Wait::kThere;
}

}  // namespace station
