#include "tests/edid/sample_displays.h"
#include "tests/edid/sample_timings.h"

namespace edid_test {
namespace {

// CTA-861 flags of an HDMI display: underscan, basic audio, YCbCr 4:4:4 and
// 4:2:2, one native timing.
constexpr unsigned kHdmiFlags = 0xF1;
// Data block tags.
constexpr unsigned kAudio = 1;
constexpr unsigned kVideo = 2;
constexpr unsigned kVendor = 3;
constexpr unsigned kSpeakers = 4;
// Extended tags.
constexpr unsigned kVideoCapability = 0x00;
constexpr unsigned kVendorVideo = 0x01;
constexpr unsigned kColorimetry = 0x05;
constexpr unsigned kHdr = 0x06;
constexpr unsigned kVideo420 = 0x0E;
constexpr unsigned kMap420 = 0x0F;

EdidBuilder hdmi(unsigned product) { return {"ORV", product, 3, 0x80, 0x0E}; }

// Stereo LPCM, 32 to 48 kHz, 16 to 24 bits.
CtaBuilder& stereo(CtaBuilder& cta) { return cta.data(kAudio, {0x09, 0x07, 0x07}).data(kSpeakers, {0x01, 0, 0}); }

CtaBuilder& surround(CtaBuilder& cta) {
  return cta.data(kAudio, {0x0F, 0x7F, 0x07, 0x15, 0x07, 0x50, 0x3D, 0x06, 0xC0, 0x57, 0x06, 0x03, 0x67, 0x7E, 0x03})
      .data(kSpeakers, {0x4F, 0, 0});
}

// HDMI block with address 1.0.0.0 and the highest clock in MHz.
CtaBuilder& hdmi14(CtaBuilder& cta, unsigned clockMhz) {
  return cta.data(kVendor, {0x03, 0x0C, 0x00, 0x10, 0x00, 0xB8, clockMhz / 5});
}

std::vector<SampleDisplay> highDefinition() {
  CtaBuilder monitor(kHdmiFlags);
  stereo(monitor.data(kVideo, {0x90, 31, 4, 19, 3, 18, 1}));
  hdmi14(monitor, 150).extended(kVideoCapability, {0xCA}).timing(k720p60, 527, 296);

  CtaBuilder small(kHdmiFlags);
  stereo(small.data(kVideo, {0x84, 19, 3, 18, 1}));
  hdmi14(small, 80).extended(kVideoCapability, {0x4A}).timing(k576p50, 700, 390);

  CtaBuilder full(kHdmiFlags);
  surround(full.data(kVideo, {0x9F, 16, 20, 5, 19, 4, 18, 3, 32, 33, 34, 1}));
  hdmi14(full, 225).extended(kVideoCapability, {0x4A}).extended(kColorimetry, {0x03, 0x00}).timing(k1080i60, 930, 520);

  CtaBuilder receiver(kHdmiFlags);
  receiver.data(kVideo, {16, 31, 5, 20, 4, 19, 3, 18, 1})
      .data(kAudio, {0x0F, 0x7F, 0x07, 0x15, 0x07, 0x50, 0x35, 0x06, 0x3C, 0x3E, 0x1E, 0xC0,
                     0x4D, 0x02, 0x00, 0x57, 0x06, 0x00, 0x5F, 0x7E, 0x01, 0x67, 0x7E, 0x00})
      .data(kSpeakers, {0x7F, 0, 0});
  hdmi14(receiver, 300).extended(kVideoCapability, {0x4A});
  return {
      {"1080p monitor, HDMI",
       hdmi(0x4001)
           .made(33, 2016)
           .size(527, 296)
           .established(0x21, 0x08, 0x00)
           .standard({0xD1, 0xC0, 0x81, 0xC0})
           .timing(k1080p60)
           .range(24, 76, 15, 84, 150)
           .name("ORV 24H")
           .serialText("24H-99")
           .extension(monitor.block())
           .table(),
       "ORV 24H", "1920x1080 60.00 Hz", 527, 296},
      {"720p television",
       hdmi(0x4002)
           .made(5, 2009)
           .size(700, 390)
           .established(0x20, 0x00, 0x00)
           .timing(k720p60)
           .range(24, 62, 15, 50, 80)
           .name("TV 32")
           .extension(small.block())
           .table(),
       "TV 32", "1280x720 60.00 Hz", 700, 390},
      {"1080p television at 50 Hz, surround",
       hdmi(0x4003)
           .made(17, 2013)
           .size(930, 520)
           .established(0x20, 0x00, 0x00)
           .timing(k1080p50)
           .timing(k720p50)
           .range(23, 62, 15, 70, 150)
           .name("TV 42 FHD")
           .extension(full.block())
           .table(),
       "TV 42 FHD", "1920x1080 50.00 Hz", 930, 520},
      {"audio receiver",
       hdmi(0x4004)
           .made(52, 2014)
           .established(0x20, 0x00, 0x00)
           .timing(k1080p60)
           .timing(k480p60)
           .range(24, 62, 15, 70, 150)
           .name("AV RECEIVER")
           .extension(receiver.block())
           .table(),
       "AV RECEIVER", "1920x1080 60.00 Hz", 0, 0},
  };
}

std::vector<SampleDisplay> ultraHighDefinition() {
  // The four HDMI formats: 2160p at 30, 25 and 24 Hz, 4096x2160p24.
  CtaBuilder slow(kHdmiFlags);
  stereo(slow.data(kVideo, {95, 94, 93, 98, 16, 31, 4, 19, 3, 18, 1}))
      .data(kVendor, {0x03, 0x0C, 0x00, 0x20, 0x00, 0xB8, 60, 0x20, 0x00, 0x80, 1, 2, 3, 4})
      .extended(kVideoCapability, {0x4A})
      .timing(k1080p60, 1100, 620);

  CtaBuilder narrow(kHdmiFlags);
  stereo(narrow.data(kVideo, {95, 94, 93, 16, 31, 4, 19, 3, 18, 1}));
  hdmi14(narrow, 300).extended(kVideoCapability, {0xCA}).extended(kVideo420, {97, 96});

  // 10-bit 4:2:0 for the first two formats; HDR with luminance values.
  CtaBuilder hdr(kHdmiFlags);
  surround(hdr.data(kVideo, {97, 96, 95, 94, 93, 16, 31, 4, 19, 3, 18, 1}));
  hdmi14(hdr, 300)
      .data(kVendor, {0xD8, 0x5D, 0xC4, 0x01, 120, 0x80, 0x03})
      .extended(kVideoCapability, {0xCA})
      .extended(kColorimetry, {0xC3, 0x00})
      .extended(kHdr, {0x0D, 0x01, 0x60, 0x50, 0x20})
      .extended(kMap420, {0x03});

  // HDMI 2.1: fixed-rate link with four lanes at 10 Gbps, variable refresh rate.
  CtaBuilder fast(kHdmiFlags);
  surround(fast.data(kVideo, {97, 96, 118, 117, 16, 31, 63, 64, 4, 19, 3, 18, 1}));
  hdmi14(fast, 300)
      .data(kVendor, {0xD8, 0x5D, 0xC4, 0x01, 120, 0x80, 0x53, 0x02, 0x30, 0x78})
      .extended(kVideoCapability, {0xCA})
      .extended(kColorimetry, {0xC3, 0x80})
      .extended(kHdr, {0x0D, 0x01, 0x8A, 0x60, 0x12})
      .extended(kVendorVideo, {0x8B, 0x84, 0x90, 0x01});

  CtaBuilder eightK(kHdmiFlags);
  surround(eightK.data(kVideo, {97, 96, 199, 198, 194, 118, 117, 16, 31, 4, 19, 3, 18, 1}));
  hdmi14(eightK, 300)
      .data(kVendor, {0xD8, 0x5D, 0xC4, 0x01, 120, 0x80, 0x63, 0x02})
      .extended(kVideoCapability, {0xCA})
      .extended(kColorimetry, {0xC3, 0x80})
      .extended(kHdr, {0x0D, 0x01});
  return {
      {"4K television at 30 Hz",
       hdmi(0x5001)
           .made(1, 2014)
           .size(1100, 620)
           .established(0x21, 0x08, 0x00)
           .timing(k2160p30)
           .range(23, 62, 15, 70, 300)
           .name("TV 50 UHD")
           .extension(slow.block())
           .table(),
       "TV 50 UHD", "3840x2160 30.00 Hz", 1100, 620},
      {"4K television at 60 Hz in 4:2:0",
       hdmi(0x5002)
           .made(40, 2015)
           .size(1100, 620)
           .established(0x21, 0x08, 0x00)
           .timing(k2160p30)
           .timing(k1080p60)
           .range(23, 62, 15, 136, 600)
           .name("TV 50 420")
           .extension(narrow.block())
           .table(),
       "TV 50 420", "3840x2160 30.00 Hz", 1100, 620},
      {"4K television with HDR",
       hdmi(0x5003)
           .made(21, 2018)
           .size(1210, 680)
           .established(0x21, 0x08, 0x00)
           .timing(k2160p60)
           .timing(k1080p60)
           .range(23, 62, 15, 136, 600)
           .name("TV 55 HDR")
           .extension(hdr.block())
           .table(),
       "TV 55 HDR", "3840x2160 60.00 Hz", 1210, 680},
      {"4K television at 120 Hz",
       hdmi(0x5004)
           .made(26, 2021)
           .size(1430, 800)
           .established(0x21, 0x08, 0x00)
           .timing(k2160p60)
           .timing(k1080p60)
           .range(23, 121, 15, 255, 1200)
           .name("TV 65 120")
           .extension(fast.block())
           .table(),
       "TV 65 120", "3840x2160 60.00 Hz", 1430, 800},
      {"8K television",
       hdmi(0x5005)
           .made(11, 2022)
           .size(1650, 930)
           .established(0x21, 0x08, 0x00)
           .timing(k2160p60)
           .timing(k1080p60)
           .range(23, 121, 15, 255, 2380)
           .name("TV 75 8K")
           .extension(eightK.block())
           .table(),
       "TV 75 8K", "3840x2160 60.00 Hz", 1650, 930},
  };
}

std::vector<SampleDisplay> manyBlocks() {
  CtaBuilder first(kHdmiFlags);
  stereo(first.data(kVideo, {16, 31, 4, 19}));
  hdmi14(first, 225).extended(kVideoCapability, {0xCA});
  CtaBuilder second(kHdmiFlags);
  second.data(kVideo, {3, 18, 1});
  const Table third =
      DisplayIdBuilder(0x12, 3).display("ORV", 0x6002, 600, 340, 1920, 1080).timing(k1080p60, true, 4).block();
  const auto base = [](unsigned product, const char* name) {
    return hdmi(product)
        .made(10, 2020)
        .size(600, 340)
        .established(0x21, 0x08, 0x00)
        .timing(k1080p60)
        .range(24, 62, 15, 70, 150)
        .name(name);
  };
  CtaBuilder plain(0xB1);
  plain.data(kVideo, {16, 31}).extended(kVideoCapability, {0xCA});
  CtaBuilder more(0xB1);
  more.data(kVideo, {4, 19}).timing(k720p60, 600, 340);
  return {
      {"block map and two CTA-861 extensions",
       base(0x6001, "WALL 3").blockMap().extension(first.block()).extension(second.block()).table(), "WALL 3",
       "1920x1080 60.00 Hz", 600, 340},
      {"block map, two CTA-861 extensions and DisplayID",
       base(0x6002, "WALL 4").blockMap().extension(first.block()).extension(second.block()).extension(third).table(),
       "WALL 4", "1920x1080 60.00 Hz", 600, 340},
      {"structure 1.4, two extensions, no block map",
       EdidBuilder("ORV", 0x6003, 4, 0xA5, 0x06)
           .made(10, 2020)
           .size(600, 340)
           .established(0x21, 0x08, 0x00)
           .timing(k1080p60)
           .range(24, 62, 15, 70, 150, 1)
           .name("WALL 2")
           .extension(plain.block())
           .extension(more.block())
           .table(),
       "WALL 2", "1920x1080 60.00 Hz", 600, 340},
  };
}

}  // namespace

std::vector<SampleDisplay> sampleTelevisions() {
  std::vector<SampleDisplay> all = highDefinition();
  for (const auto& more : {ultraHighDefinition(), manyBlocks()}) {
    all.insert(all.end(), more.begin(), more.end());
  }
  return all;
}

std::vector<SampleDisplay> sampleDisplays() {
  std::vector<SampleDisplay> all = sampleMonitors();
  const std::vector<SampleDisplay> televisions = sampleTelevisions();
  all.insert(all.end(), televisions.begin(), televisions.end());
  return all;
}

}  // namespace edid_test
