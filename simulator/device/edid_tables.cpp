#include "simulator/device/edid_tables.h"

#include "simulator/device/signals.h"

#include <algorithm>
#include <initializer_list>
#include <numeric>
#include <stdexcept>

namespace simulator {
namespace {

constexpr std::size_t kBlock = 128;
using Block = std::array<std::uint8_t, kBlock>;

// Block tags.
constexpr std::uint8_t kCtaTag = 0x02;
constexpr std::uint8_t kBlockMapTag = 0xF0;

constexpr std::uint8_t low(unsigned value) { return static_cast<std::uint8_t>(value & 0xFF); }
constexpr std::uint8_t high(unsigned value) { return static_cast<std::uint8_t>(value >> 8 & 0xFF); }

/// Appends blocks with their checksum: all bytes of a block add up to 0.
void append(std::vector<std::uint8_t>& table, Block block) {
  block.back() = low(0U - std::accumulate(block.begin(), block.end() - 1, 0U));
  table.insert(table.end(), block.begin(), block.end());
}

const Signal& signalOf(std::string_view name) {
  for (const Signal& signal : signalTable()) {
    if (signal.name == name) {
      return signal;
    }
  }
  throw std::logic_error("no signal of that name");
}

/// Writes an 18-byte detailed timing descriptor.
void putTiming(Block& block, std::size_t at, const Signal& signal, const DisplayBase& display) {
  const auto blanking = [](const Axis& axis) { return axis.frontPorch + axis.sync + axis.backPorch + 0U; };
  const Axis& h = signal.horizontal;
  const Axis& v = signal.vertical;
  const unsigned lines = signal.interlaced ? v.active / 2U : v.active;
  const unsigned clock = signal.pixelClockHz / 10'000;
  const unsigned width = display.widthCm * 10U;
  const unsigned height = display.heightCm * 10U;
  // Separate sync; CTA-861 formats of 720 lines and more have both pulses
  // positive, CVT reduced blanking the horizontal one only.
  const unsigned polarity = signal.link == Link::kDisplayPort ? 0x02 : 0x06;
  const std::array<unsigned, 18> bytes{
      clock,
      clock >> 8,
      h.active,
      blanking(h),
      (h.active + 0U) >> 8 << 4 | blanking(h) >> 8,
      lines,
      blanking(v),
      lines >> 8 << 4 | blanking(v) >> 8,
      h.frontPorch,
      h.sync,
      (v.frontPorch & 0x0FU) << 4 | (v.sync & 0x0FU),
      (h.frontPorch + 0U) >> 8 << 6 | (h.sync + 0U) >> 8 << 4 | (v.frontPorch + 0U) >> 4 << 2 | (v.sync + 0U) >> 4,
      width,
      height,
      width >> 8 << 4 | height >> 8,
      0,
      0,
      0x18U | polarity | (signal.interlaced ? 0x80U : 0U)};
  std::transform(bytes.begin(), bytes.end(), block.begin() + static_cast<std::ptrdiff_t>(at), low);
}

void put(Block& block, std::size_t at, std::initializer_list<std::uint8_t> bytes) {
  std::copy(bytes.begin(), bytes.end(), block.begin() + static_cast<std::ptrdiff_t>(at));
}

Block baseBlock(const DisplayBase& display, bool isHdmi, std::uint8_t extensions) {
  Block block{};
  put(block, 0, {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00});
  // The maker's three letters, five bits each.
  constexpr unsigned kMaker = ('O' - '@') << 10 | ('R' - '@') << 5 | ('V' - '@');
  put(block, 8, {high(kMaker), low(kMaker), low(display.product), high(display.product)});
  put(block, 16, {12, 2024 - 1990});  // week and year of make
  // HDMI wants structure 1.3; 1.4 names the interface: DisplayPort, 8 bits.
  put(block, 18, {1, std::uint8_t(isHdmi ? 3 : 4), std::uint8_t(isHdmi ? 0x80 : 0xA5)});
  put(block, 21, {display.widthCm, display.heightCm, 220 - 100});                // gamma 2.2
  put(block, 24, {std::uint8_t(isHdmi ? 0x0E : 0x06)});                          // RGB, sRGB, first timing preferred
  put(block, 25, {0xEE, 0x91, 0xA3, 0x54, 0x4C, 0x99, 0x26, 0x0F, 0x50, 0x54});  // sRGB's primaries
  put(block, 35, {0x21, 0x08, 0x00});                                            // VGA, SVGA and XGA at 60 Hz
  std::fill_n(block.begin() + 38, 16, std::uint8_t{0x01});                       // no standard timings
  putTiming(block, 54, signalOf(display.timings[0]), display);
  putTiming(block, 72, signalOf(display.timings[1]), display);
  put(block, 90,
      {0, 0, 0, 0xFD, 0, display.minRate, display.maxRate, display.minLineRate, display.maxLineRate, display.maxClock,
       std::uint8_t(isHdmi ? 0x00 : 0x01), '\n', ' ', ' ', ' ', ' ', ' ', ' '});
  put(block, 108, {0, 0, 0, 0xFC, 0});
  std::fill_n(block.begin() + 113, 13, std::uint8_t{' '});
  *std::copy(display.name.begin(), display.name.end(), block.begin() + 113) = '\n';
  block[126] = extensions;
  return block;
}

Block blockMap(std::size_t blocksBehind) {
  Block block{};
  block[0] = kBlockMapTag;
  std::fill_n(block.begin() + 1, blocksBehind, kCtaTag);
  return block;
}

/// The data blocks of a CTA-861 extension, in their order.
class DataBlocks {
 public:
  enum Tag : std::uint8_t { kAudio = 1, kVideo = 2, kVendor = 3, kSpeakers = 4, kExtended = 7 };
  enum ExtendedTag : std::uint8_t { kVideoCapability = 0x00, kColorimetry = 0x05, kHdrStatic = 0x06, kVideo420 = 0x0E };

  // RGB underscans as IT formats do, basic audio, both YCbCr samplings; the base
  // block's first timing is the native one.
  DataBlocks() { put(block_, 0, {kCtaTag, 3, kHeader, 0xF1}); }

  /// Begins a data block of no bytes.
  void begin(Tag tag) {
    start_ = end_;
    append(static_cast<std::uint8_t>(tag << 5));
  }
  /// Appends a byte to the data block begun last.
  void add(std::uint8_t byte) {
    append(byte);
    ++block_.at(start_);  // the length stands in the tag's lower bits
  }
  void add(std::initializer_list<std::uint8_t> bytes) { add(std::span(bytes.begin(), bytes.size())); }
  void add(std::span<const std::uint8_t> bytes) {
    for (const std::uint8_t byte : bytes) {
      add(byte);
    }
  }

  /// The whole extension block.
  Block block() const {
    Block block = block_;
    block[2] = static_cast<std::uint8_t>(end_);
    return block;
  }

 private:
  static constexpr std::uint8_t kHeader = 4;

  void append(std::uint8_t byte) {
    if (end_ >= kBlock - 1) {
      throw std::logic_error("more data blocks than fit a block");
    }
    block_.at(end_++) = byte;
  }

  Block block_{};
  std::size_t start_ = kHeader;
  std::size_t end_ = kHeader;
};

void addAudio(DataBlocks& blocks, const DisplayCapabilities& capabilities) {
  blocks.begin(DataBlocks::kAudio);
  for (const ShortAudio& format : capabilities.audio) {
    blocks.add({static_cast<std::uint8_t>(format.code << 3 | (format.channels - 1)), format.rates, format.detail});
  }
  blocks.begin(DataBlocks::kSpeakers);
  blocks.add({capabilities.speakers, 0, 0});
}

void addHdmi(DataBlocks& blocks, const DisplayCapabilities& capabilities) {
  if (capabilities.tmdsClock != 0) {
    // OUI 00-0C-03, physical address 1.0.0.0, no deep colour.
    blocks.begin(DataBlocks::kVendor);
    blocks.add({0x03, 0x0C, 0x00, 0x10, 0x00, 0x00, static_cast<std::uint8_t>(capabilities.tmdsClock / 5)});
    if (!capabilities.hdmiFormats.empty()) {
      blocks.add({0x20, 0x00, static_cast<std::uint8_t>(capabilities.hdmiFormats.size() << 5)});
      blocks.add(capabilities.hdmiFormats);
    }
  }
  if (capabilities.highTmdsClock != 0) {
    // OUI C4-5D-D8, version 1, SCDC present.
    blocks.begin(DataBlocks::kVendor);
    blocks.add({0xD8, 0x5D, 0xC4, 0x01, static_cast<std::uint8_t>(capabilities.highTmdsClock / 5), 0x80, 0x00});
  }
}

Block capabilitiesBlock(const DisplayCapabilities& capabilities) {
  DataBlocks blocks;
  blocks.begin(DataBlocks::kVideo);
  blocks.add(capabilities.formats);
  addAudio(blocks, capabilities);
  addHdmi(blocks, capabilities);
  // Both quantization ranges can be chosen; IT and CE formats always underscanned.
  blocks.begin(DataBlocks::kExtended);
  blocks.add({DataBlocks::kVideoCapability, 0xCA});
  if (capabilities.hdr) {
    blocks.begin(DataBlocks::kExtended);
    blocks.add({DataBlocks::kColorimetry, 0xC0, 0x00});  // BT.2020 RGB and YCC
    blocks.begin(DataBlocks::kExtended);
    blocks.add({DataBlocks::kHdrStatic, 0x0D, 0x01});  // SDR, PQ, HLG; metadata type 1
  }
  if (!capabilities.formats420.empty()) {
    blocks.begin(DataBlocks::kExtended);
    blocks.add(DataBlocks::kVideo420);
    blocks.add(capabilities.formats420);
  }
  return blocks.block();
}

Block moreFormatsBlock(const DisplayCapabilities& capabilities) {
  DataBlocks blocks;
  blocks.begin(DataBlocks::kVideo);
  blocks.add(capabilities.moreFormats);
  return blocks.block();
}

/// The first list, then what only the second has.
std::vector<std::uint8_t> unionOf(std::span<const std::uint8_t> first, std::span<const std::uint8_t> second) {
  std::vector<std::uint8_t> all(first.begin(), first.end());
  for (const std::uint8_t format : second) {
    if (std::find(all.begin(), all.end(), format) == all.end()) {
      all.push_back(format);
    }
  }
  return all;
}

// CTA-861 formats: 1 = 640x480p60, 3 = 720x480p60, 18 = 720x576p50, 4/19 =
// 720p60/50, 5/20 = 1080i60/50, 16/31 = 1080p60/50, 32 to 34 = 1080p24/25/30,
// 63/64 = 1080p120/100, 93 to 97 = 2160p24/25/30/50/60.
constexpr std::array<std::uint8_t, 7> kHdFormats{4, 19, 3, 18, 1, 60, 62};
constexpr std::array<std::uint8_t, 9> kFullHdFormats{16, 31, 4, 19, 5, 20, 3, 18, 1};
constexpr std::array<std::uint8_t, 10> kUhdFormats{16, 31, 4, 19, 93, 94, 95, 3, 18, 1};
constexpr std::array<std::uint8_t, 12> kUhd60Formats{97, 96, 16, 31, 4, 19, 93, 94, 95, 3, 18, 1};
constexpr std::array<std::uint8_t, 10> kUhd420Formats{95, 94, 93, 16, 31, 4, 19, 3, 18, 1};
constexpr std::array<std::uint8_t, 2> k420Formats{97, 96};
constexpr std::array<std::uint8_t, 3> kMoreFormats{32, 33, 34};
constexpr std::array<std::uint8_t, 3> kHdmiFormats{1, 2, 3};  // 2160p30, 25, 24

constexpr std::uint8_t kStereo = 0x01;
constexpr std::uint8_t kSurround51 = 0x0F;
constexpr std::uint8_t kSurround71 = 0x4F;
constexpr std::array kStereoAudio{ShortAudio{1, 2, 0x07, 0x07}};
constexpr std::array kStereo192Audio{ShortAudio{1, 2, 0x7F, 0x07}};
constexpr std::array kSurroundAudio{ShortAudio{1, 6, 0x07, 0x07}, ShortAudio{2, 6, 0x07, 640 / 8},
                                    ShortAudio{7, 6, 0x06, 1536 / 8}};
constexpr std::array kTelevisionAudio{ShortAudio{1, 8, 0x7F, 0x07}, ShortAudio{2, 6, 0x07, 640 / 8},
                                      ShortAudio{7, 6, 0x06, 1536 / 8}, ShortAudio{10, 8, 0x04, 0x01}};

constexpr std::array<Display, 7> kFactoryDisplays{{
    {{"KVR 1080P60", 0x0700, 60, 34, {"1080p60", "720p60"}, 24, 62, 26, 70, 15},
     {kFullHdFormats, kMoreFormats, {}, kStereoAudio, kStereo, 150, {}, 0, false}},
    {{"KVR 720P60", 0x0701, 60, 34, {"720p60", "480p60-dvi"}, 24, 62, 17, 50, 8},
     {kHdFormats, kMoreFormats, {}, kStereoAudio, kStereo, 80, {}, 0, false}},
    {{"KVR 1080P 51", 0x0702, 60, 34, {"1080p60", "1080p50"}, 24, 62, 26, 70, 15},
     {kFullHdFormats, kMoreFormats, {}, kSurroundAudio, kSurround51, 150, {}, 0, false}},
    {{"KVR 2160P30", 0x0703, 80, 45, {"2160p30", "1080p60"}, 24, 62, 26, 70, 30},
     {kUhdFormats, kMoreFormats, {}, kStereo192Audio, kStereo, 300, kHdmiFormats, 0, false}},
    {{"KVR 4K60 420", 0x0704, 80, 45, {"2160p30", "1080p60"}, 24, 62, 26, 135, 30},
     {kUhd420Formats, kMoreFormats, k420Formats, kStereo192Audio, kStereo, 300, kHdmiFormats, 0, false}},
    {{"KVR 4K60 HDR", 0x0705, 80, 45, {"2160p60-hdr10plus", "1080p60"}, 24, 62, 26, 135, 60},
     {kUhd60Formats, kMoreFormats, {}, kSurroundAudio, kSurround51, 300, kHdmiFormats, 600, true}},
    {{"KVR 1440P144", 0x0706, 60, 34, {"1440p144", "1080p60"}, 24, 144, 26, 223, 61},
     {kFullHdFormats, kMoreFormats, {}, kStereoAudio, kStereo, 0, {}, 0, false}},
}};

constexpr Display kSinkDisplay{
    {"LIVING TV", 0x5501, 121, 68, {"2160p60-hdr10plus", "1080p60"}, 24, 62, 26, 135, 60},
    {kUhd60Formats, kMoreFormats, {}, kTelevisionAudio, kSurround71, 300, kHdmiFormats, 600, true}};

// USB 3 carries up to 2160p30, and the UVC audio function is stereo.
constexpr Display kUsbDisplay{{"KVR USB", 0x0710, 80, 45, {"1080p60", "2160p30"}, 24, 62, 26, 70, 30},
                              {kUhdFormats, kMoreFormats, {}, kStereoAudio, kStereo, 300, kHdmiFormats, 0, false}};

}  // namespace

std::vector<std::uint8_t> edidTable(const Display& display, std::size_t size) {
  const bool isHdmi = display.capabilities.tmdsClock != 0;
  const std::size_t blocks = size / kBlock;
  std::vector<std::uint8_t> table;
  table.reserve(size);
  append(table, baseBlock(display.base, isHdmi, static_cast<std::uint8_t>(blocks - 1)));
  if (blocks > 2) {
    append(table, blockMap(blocks - 2));
  }
  append(table, capabilitiesBlock(display.capabilities));
  if (blocks > 3) {
    append(table, moreFormatsBlock(display.capabilities));
  }
  return table;
}

std::vector<std::uint8_t> mixedEdidTable(const Display& display, const Display& other, std::size_t size) {
  Display mixed = display;
  mixed.base.minRate = std::min(mixed.base.minRate, other.base.minRate);
  mixed.base.maxRate = std::max(mixed.base.maxRate, other.base.maxRate);
  mixed.base.minLineRate = std::min(mixed.base.minLineRate, other.base.minLineRate);
  mixed.base.maxLineRate = std::max(mixed.base.maxLineRate, other.base.maxLineRate);
  mixed.base.maxClock = std::max(mixed.base.maxClock, other.base.maxClock);

  const DisplayCapabilities& theirs = other.capabilities;
  DisplayCapabilities& merged = mixed.capabilities;
  const std::vector<std::uint8_t> formats = unionOf(merged.formats, theirs.formats);
  const std::vector<std::uint8_t> moreFormats = unionOf(merged.moreFormats, theirs.moreFormats);
  merged.formats = formats;
  merged.moreFormats = moreFormats;
  merged.audio = theirs.audio;
  merged.speakers = theirs.speakers;
  merged.tmdsClock = std::max(merged.tmdsClock, theirs.tmdsClock);
  merged.hdmiFormats = theirs.hdmiFormats;
  merged.highTmdsClock = std::max(merged.highTmdsClock, theirs.highTmdsClock);
  merged.hdr = theirs.hdr;
  // What the other takes in full needs no entry for 4:2:0 only.
  merged.formats420 = theirs.formats420;
  return edidTable(mixed, size);
}

std::span<const Display, 7> factoryDisplays() { return kFactoryDisplays; }
const Display& sinkDisplay() { return kSinkDisplay; }
const Display& usbDisplay() { return kUsbDisplay; }

}  // namespace simulator
