#pragma once

#include <QString>

#include <cstdint>
#include <optional>

/// Texts for what the device reports of the incoming audio.
namespace audio {

/// Shown for a code without a text.
inline constexpr const char* kUnknownText = "Unknow";

QString formatText(std::uint8_t code);

/// Empty for a code without a text, which the page shows at another place.
std::optional<QString> samplingRateText(std::uint8_t code);

}  // namespace audio
