#pragma once

#include <QByteArray>
#include <QString>
#include <tl/expected.hpp>

#include <cstdint>

namespace firmware {

/// The most that a file may hold that claims to be empty, in bytes.
inline constexpr qint64 kMaxUnsizedImage = qint64{64} * 1024 * 1024;

/// Why a file gives no image of the external MCU's firmware.
enum class ImageFailure : std::uint8_t {
  kCannotOpen,  ///< no regular file, or not readable
  kCannotRead,  ///< not to its end, or not into memory
};

/// Reads a firmware file of the external MCU, whole: the device must not get a
/// piece of one. The bytes are the image as they are.
///
/// Some system files claim to be empty and never end; such a one
/// counts as unreadable beyond `kMaxUnsizedImage`.
tl::expected<QByteArray, ImageFailure> readMcuImage(const QString& path);

}  // namespace firmware
