/// @file
/// Properties that every decoder has for any bytes from the device.
/// Usage: decoder_property_test [COUNT [SEED]]. Exit code 0 if they held COUNT times,
/// otherwise 1.
#include "audio/audio_codes.h"
#include "device/text.h"
#include "session/identity.h"
#include "video/rx_timing.h"
#include "video/video_status.h"

#include <QStringList>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace {

using Bytes = std::span<const std::uint8_t>;

/// The decoder of a byte code, its texts, and how often each kind occurred.
struct CodeDecoder {
  const char* name;
  QString (*decode)(std::uint8_t);
  std::vector<const char*> texts;
  const char* anythingElse;
  std::uint64_t known = 0;
  std::uint64_t other = 0;
};

QString samplingRateOrUnknown(std::uint8_t code) {
  return audio::samplingRateText(code).value_or(QLatin1String(audio::kUnknownText));
}

std::vector<CodeDecoder> codeDecoders() {
  return {
      {"scan", video::scanText, {"interlace", "progressive"}, ""},
      {"HDMI mode", video::hdmiModeText, {"DVI", "HDMI 1.4/2.0", "HDMI 2.1", "DRPX mode"}, "Unknow"},
      {"colour space", video::colorSpaceText, {"RGB", "YUV422", "YUV444", "YUV420"}, "YUV400"},
      {"colour depth", video::colorDepthText, {"8bit", "10bit", "12bit", "16bit"}, "6bit"},
      {"colour range", video::colorRangeText, {"default", "limit", "full"}, "Unknow"},
      {"HDCP, receiver page", video::rxHdcpText, {"None", "HDCP1.3/1.4", "HDCP2.2/2.3"}, "HDCP Off"},
      {"HDR",
       video::hdrText,
       {"SDR", "HDR10", "HLG", "HDR10+", "Dolby Vision STD", "Dolby Vision Low Latency", "Dolby Vision VSEM"},
       "Unknow"},
      {"pixel format",
       video::uvcFormatText,
       {"NV12", "M420", "I420", "YUYV", "RGB24", "RGB32", "P101", "MJPEG"},
       "N/A"},
      {"HDCP, video page", video::hdcpVersionText, {"No HDCP", "HDCP1.3/1.4", "HDCP2.2/2.3"}, "HDCP OFF"},
      {"audio format",
       audio::formatText,
       {"DVI", "No Audio", "PCM", "AC3", "DTS", "AAC", "Default", "MPEG", "DTS_HD_MA", "DTS_EXPRESS", "DTS_CD", "EAC3",
        "EAC3_ATMOS", "MAT", "MAT_ATMOS", "TRUEHD", "TRUEHD_ATMOS", "NON_LPCM"},
       "Unknow"},
      {"sampling rate",
       samplingRateOrUnknown,
       {"No Audio", "32K", "64K", "128K", "44.1K", "88.2K", "176.4K", "48K", "96K", "192K", "256K", "352.8K", "384K",
        "512K", "705.6K", "768K"},
       "Unknow"},
  };
}

bool countText(CodeDecoder& decoder, std::uint8_t code) {
  const QString text = decoder.decode(code);
  for (const char* const known : decoder.texts) {
    if (text == QLatin1String(known)) {
      ++decoder.known;
      return true;
    }
  }
  ++decoder.other;
  return text == QLatin1String(decoder.anythingElse) && decoder.anythingElse[0] != '\0';
}

// Reads the number independently of the decoders' code.
std::uint64_t number(Bytes bytes, std::size_t offset, std::size_t width) {
  std::uint64_t value = 0;
  for (std::size_t i = width; i > 0; --i) {
    value = value * 256 + bytes[offset + i - 1];
  }
  return value;
}

bool rawTimingHolds(Bytes bytes) {
  const auto info = video::readRawTimingInfo(bytes);
  if (bytes.size() < 36 || !info) {
    return bytes.size() < 36 && !info;
  }
  return info->flags == bytes[0x00] && info->vTotal == number(bytes, 0x02, 2) &&
         info->hTotal == number(bytes, 0x04, 2) && info->vActive == number(bytes, 0x06, 2) &&
         info->hActive == number(bytes, 0x08, 2) && info->vStart == number(bytes, 0x0A, 2) &&
         info->hStart == number(bytes, 0x0C, 2) && info->vFreq == number(bytes, 0x0E, 2) &&
         info->hFreq == number(bytes, 0x10, 2) && info->hdrType == bytes[0x12] &&
         info->vSyncPulse == number(bytes, 0x13, 2) && info->hSyncPulse == number(bytes, 0x15, 2) &&
         info->hdmiMode == bytes[0x17] && info->colorDepth == bytes[0x18] && info->colorSpace == bytes[0x19] &&
         info->colorRange == bytes[0x1A] && info->colorimetry == bytes[0x1B] && info->extColorimetry == bytes[0x1C] &&
         info->hdcpVersion == bytes[0x1D] && info->tmdsClock == number(bytes, 0x1E, 2) &&
         info->pllPixelClockX1024 == number(bytes, 0x20, 4);
}

bool uvcTimingHolds(Bytes bytes) {
  const auto timing = video::readUvcOutputTiming(bytes);
  if (bytes.size() < 12 || !timing) {
    return bytes.size() < 12 && !timing;
  }
  const std::string text = std::to_string(number(bytes, 0, 4)) + "x" + std::to_string(number(bytes, 4, 4)) + "@" +
                           std::to_string(number(bytes, 8, 4) / 100);
  return video::uvcTimingText(*timing) == QLatin1String(text.c_str());
}

bool textsHold(Bytes bytes, std::int32_t length) {
  const auto until = [](Bytes part) {
    std::size_t end = 0;
    while (end < part.size() && part[end] != 0) {
      ++end;
    }
    return static_cast<qsizetype>(end);
  };
  const Bytes claimed =
      length <= 0 ? bytes.first(0) : bytes.first(std::min(bytes.size(), static_cast<std::size_t>(length)));
  // UTF-8 takes at least one byte per unit of the text, and each invalid byte becomes
  // one replacement character.
  return device::latin1Text(bytes).size() == until(bytes) && device::utf8Text(bytes).size() <= until(bytes) &&
         session::usbStringText(bytes, length).size() == until(claimed);
}

/// A count from the command line; 0 if it is not a number.
std::uint64_t countFrom(const char* text) {
  std::uint64_t value = 0;
  const char* const end = text + std::strlen(text);
  const auto [stop, error] = std::from_chars(text, end, value);
  return error == std::errc() && stop == end ? value : 0;
}

}  // namespace

int main(int argc, char* argv[]) {
  const std::uint64_t count = argc > 1 ? countFrom(argv[1]) : 20'000;
  const std::uint64_t seed = argc > 2 ? countFrom(argv[2]) : 1;
  if (argc > 3 || count == 0 || seed == 0) {
    std::fprintf(stderr, "usage: %s [COUNT [SEED]], both above 0\n", argv[0]);
    return 2;
  }

  std::mt19937_64 random(seed);
  std::vector<CodeDecoder> decoders = codeDecoders();
  std::uint64_t wholeRecords = 0;
  for (std::uint64_t i = 0; i < count; ++i) {
    // Allocated with the exact length, so that any access beyond it is noticed. Most are
    // at least as long as the program's own buffers.
    const std::size_t size = random() % 4 == 0 ? random() % 48 : 48 + random() % 81;
    const std::unique_ptr<std::uint8_t[]> buffer(new std::uint8_t[size]);
    for (std::size_t k = 0; k < size; k += sizeof(std::uint64_t)) {
      const std::uint64_t bits = random();
      std::memcpy(&buffer[k], &bits, std::min(sizeof bits, size - k));
    }
    const Bytes bytes(buffer.get(), size);
    wholeRecords += size >= 36 ? 1 : 0;

    bool holds = rawTimingHolds(bytes) && uvcTimingHolds(bytes) &&
                 textsHold(bytes, static_cast<std::int32_t>(static_cast<std::uint32_t>(random())));
    for (std::size_t k = 0; k < decoders.size() && k < size; ++k) {
      holds = countText(decoders[k], bytes[k]) && holds;
    }
    if (!holds) {
      std::printf("BREACH at record %llu of seed %llu, %zu bytes:", static_cast<unsigned long long>(i),
                  static_cast<unsigned long long>(seed), size);
      for (const std::uint8_t byte : bytes) {
        std::printf(" %02x", byte);
      }
      std::printf("\n");
      return 1;
    }
  }

  std::printf("seed %llu, %llu records of random bytes, %llu of them whole\n", static_cast<unsigned long long>(seed),
              static_cast<unsigned long long>(count), static_cast<unsigned long long>(wholeRecords));
  std::printf("%-22s %12s %12s\n", "code", "with text", "any other");
  for (const CodeDecoder& decoder : decoders) {
    std::printf("%-22s %12llu %12llu\n", decoder.name, static_cast<unsigned long long>(decoder.known),
                static_cast<unsigned long long>(decoder.other));
  }
  std::printf("Every record was decoded as written.\n");
  return 0;
}
