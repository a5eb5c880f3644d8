#include "firmware/capture_burn.h"

#include "device/RTICE_SDK_x64.h"

#include <mutex>

namespace firmware {
namespace {

// The library's callback gets no context.
std::mutex burnMutex;
const std::function<void(float)>* burnListener = nullptr;

void tellBurnListener(float percent) {
  const std::scoped_lock lock(burnMutex);
  if (burnListener != nullptr) {
    (*burnListener)(percent);
  }
}

/// While it exists, somebody listens to the burn.
class Listening {
 public:
  explicit Listening(const std::function<void(float)>& tell) { set(&tell); }
  Listening(const Listening&) = delete;
  Listening& operator=(const Listening&) = delete;
  ~Listening() { set(nullptr); }

 private:
  static void set(const std::function<void(float)>* tell) {
    const std::scoped_lock lock(burnMutex);
    burnListener = tell;
  }
};

}  // namespace

device::Result<> burnCapture(const QString& path, BurnProgress progress) {
  const QByteArray utf8 = path.toUtf8();
  return device::resultOf(burnToFlash(utf8.constData(), progress));
}

device::Result<> burnCaptureTelling(const QString& path, const std::function<void(float)>& tell) {
  const Listening listening(tell);
  return burnCapture(path, &tellBurnListener);
}

}  // namespace firmware
