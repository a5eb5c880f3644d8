#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>

class QFileDevice;

namespace firmware {

/// The name that a capture firmware image for the model with these USB ids
/// contains; nothing for ids of no known model.
std::optional<QByteArray> modelText(std::uint32_t vid, std::uint32_t pid);

/// Whether `file` contains `text`, from its current position on. Memory use does
/// not depend on the file's size, nor the speed on its content; the holes of a
/// sparse file are not read. Where the file fails to be read, it ends.
/// @param file open for reading and unbuffered
/// @param text not empty, without NUL
bool containsText(QFileDevice& file, const QByteArray& text);

}  // namespace firmware
