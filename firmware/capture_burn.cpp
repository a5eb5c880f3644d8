#include "firmware/capture_burn.h"

#include "device/RTICE_SDK_x64.h"

#include <mutex>

namespace firmware {
namespace {

// The library's callback gets no context.
std::mutex listening;
const std::function<void(float)>* listener = nullptr;

void tellListener(float percent) {
  const std::scoped_lock lock(listening);
  if (listener != nullptr) {
    (*listener)(percent);
  }
}

void setListener(const std::function<void(float)>* tell) {
  const std::scoped_lock lock(listening);
  listener = tell;
}

}  // namespace

device::Result<> burnCapture(const QString& path, BurnProgress progress) {
  const QByteArray utf8 = path.toUtf8();
  return device::resultOf(burnToFlash(utf8.constData(), progress));
}

device::Result<> burnCaptureTelling(const QString& path, const std::function<void(float)>& tell) {
  setListener(&tell);
  const auto burnt = burnCapture(path, &tellListener);
  setListener(nullptr);
  return burnt;
}

}  // namespace firmware
