#include "firmware/mcu_image.h"

#include "device/regular_file.h"

#include <QFile>

#include <new>

namespace firmware {

tl::expected<QByteArray, ImageFailure> readMcuImage(const QString& path) {
  QFile file(path);
  if (!device::openRegularFile(file, QIODevice::ReadOnly)) {
    return tl::unexpected<ImageFailure>(ImageFailure::kCannotOpen);
  }
  try {
    const bool isSized = file.size() > 0;
    QByteArray content = isSized ? file.readAll() : file.read(kMaxUnsizedImage + 1);
    // Of a file too large for one array, Qt gives nothing, and no error.
    const bool isWhole = isSized ? !content.isEmpty() : content.size() <= kMaxUnsizedImage;
    if (file.error() == QFileDevice::NoError && isWhole) {
      return content;
    }
  } catch (const std::bad_alloc&) {
    // As for any other reason why it cannot be read.
  }
  return tl::unexpected<ImageFailure>(ImageFailure::kCannotRead);
}

}  // namespace firmware
