/// @file
/// EDID tables, built block by block from the published layouts: VESA E-EDID
/// release A (structure 1.3, with its block map) and release A2 (structure 1.4),
/// the CTA-861-I extension, and HDMI's vendor blocks in it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace simulator {

/// A CTA-861 short audio descriptor.
struct ShortAudio {
  std::uint8_t code;      ///< 1 = LPCM, 2 = AC-3, 7 = DTS, 10 = enhanced AC-3
  std::uint8_t channels;  ///< at most
  std::uint8_t rates;     ///< bit 0 = 32 kHz, then 44.1, 48, 88.2, 96, 176.4, 192 kHz
  std::uint8_t detail;    ///< LPCM: sample sizes, bit 0 = 16, then 20, 24; else the maximum bit rate in 8 kbit/s
};

/// What a display is: the base block.
struct DisplayBase {
  std::string_view name;  ///< at most 12 characters
  std::uint16_t product;  ///< the maker's product code
  std::uint8_t widthCm;   ///< image size
  std::uint8_t heightCm;
  std::array<std::string_view, 2> timings;  ///< names of signals; the first is the preferred one
  std::uint8_t minRate;                     ///< Hz, of what it shows at all
  std::uint8_t maxRate;
  std::uint8_t minLineRate;  ///< kHz
  std::uint8_t maxLineRate;
  std::uint8_t maxClock;  ///< pixel clock in units of 10 MHz
};

/// What a display can do: the CTA-861 blocks. Numbers of 0 and empty lists
/// leave their data block out.
struct DisplayCapabilities {
  std::span<const std::uint8_t> formats;      ///< VICs
  std::span<const std::uint8_t> moreFormats;  ///< VICs of a second CTA-861 block
  std::span<const std::uint8_t> formats420;   ///< VICs that come as YCbCr 4:2:0 only
  std::span<const ShortAudio> audio;
  std::uint8_t speakers;                      ///< CTA-861 speaker allocation, first byte
  std::uint16_t tmdsClock;                    ///< HDMI 1.4, MHz; 0 = no HDMI (structure 1.4 then)
  std::span<const std::uint8_t> hdmiFormats;  ///< HDMI's own VICs
  std::uint16_t highTmdsClock;                ///< HDMI 2.0, MHz above 340; 0 = no HDMI 2.0
  bool hdr;                                   ///< PQ and HLG with BT.2020
};

struct Display {
  DisplayBase base;
  DisplayCapabilities capabilities;
};

/// The display as a table of exactly `size` bytes, every block of it in use:
/// 256 = base and CTA-861 block; 384 = with a block map between them
/// (structure 1.3) or a second CTA-861 block; 512 = with both or a third block.
/// @param size 256, 384 or 512
std::vector<std::uint8_t> edidTable(const Display& display, std::size_t size);

/// A display with the capabilities of another one added: the base block stays, its
/// limits are widened; the video formats of both, audio, HDMI and HDR as the
/// other has them.
std::vector<std::uint8_t> mixedEdidTable(const Display& display, const Display& other, std::size_t size);

/// What the seven flash slots hold when the device leaves production.
std::span<const Display, 7> factoryDisplays();
/// The television that is attached to the transmitter.
const Display& sinkDisplay();
/// What the USB side can carry to the host.
const Display& usbDisplay();

}  // namespace simulator
