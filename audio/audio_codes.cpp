#include "audio/audio_codes.h"

#include "device/code_table.h"

#include <array>

namespace audio {
namespace {

constexpr device::CodeText kFormats[] = {
    {0, "DVI"},         {1, "No Audio"}, {2, "PCM"},        {3, "AC3"},          {4, "DTS"},           {5, "AAC"},
    {6, "Default"},     {10, "MPEG"},    {11, "DTS_HD_MA"}, {12, "DTS_EXPRESS"}, {13, "DTS_CD"},       {14, "EAC3"},
    {15, "EAC3_ATMOS"}, {16, "MAT"},     {17, "MAT_ATMOS"}, {18, "TRUEHD"},      {19, "TRUEHD_ATMOS"}, {20, "NON_LPCM"},
};

// By code, from 0; the order is the device's.
constexpr std::array kSamplingRates{"No Audio", "32K",  "64K",  "128K",   "44.1K", "88.2K", "176.4K", "48K",
                                    "96K",      "192K", "256K", "352.8K", "384K",  "512K",  "705.6K", "768K"};

}  // namespace

QString formatText(std::uint8_t code) { return device::codeText(kFormats, code, kUnknownText); }

std::optional<QString> samplingRateText(std::uint8_t code) {
  if (code >= kSamplingRates.size()) {
    return std::nullopt;
  }
  return QLatin1String(kSamplingRates[code]);
}

}  // namespace audio
