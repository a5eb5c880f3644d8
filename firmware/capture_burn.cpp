#include "firmware/capture_burn.h"

#include "device/RTICE_SDK_x64.h"

namespace firmware {

device::Result<> burnCapture(const QString& path, BurnProgress progress) {
  const QByteArray utf8 = path.toUtf8();
  return device::resultOf(burnToFlash(utf8.constData(), progress));
}

}  // namespace firmware
