#pragma once

#include "device/usb_ids.h"

#include <QByteArray>
#include <QString>
#include <tl/expected.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>

class QFileDevice;

namespace firmware {

/// Why a capture firmware image must not be burnt.
enum class ImageRefusal : std::uint8_t {
  kUnknownModel,  ///< the USB ids are those of no known model
  kCannotOpen,    ///< no regular file, or not readable
  kWrongModel,    ///< the model's name is not in the file
};

/// The name that a capture firmware image for the model with these USB ids
/// contains; nothing for ids of no known model.
std::optional<QByteArray> modelText(const device::UsbIds& ids);

/// Checks that a file is a capture firmware image for the model with these ids,
/// as far as its name in the file tells.
tl::expected<void, ImageRefusal> checkCaptureImage(const QString& path, const device::UsbIds& ids);

/// Bytes that `containsText` reads at once: so many that system calls do not count, so
/// few that they stay in the cache.
inline constexpr std::size_t kSearchPieceSize = std::size_t{256} * 1024;

/// Whether `file` contains `text`, from its current position on. Memory use does
/// not depend on the file's size, nor the speed on its content; the holes of a
/// sparse file are not read, and no byte is read twice. A read error counts as
/// end of file, and so do 64 MiB beyond the size that the file tells.
/// @param file open for reading and unbuffered
/// @param text not empty, without NUL
bool containsText(QFileDevice& file, const QByteArray& text);

}  // namespace firmware
