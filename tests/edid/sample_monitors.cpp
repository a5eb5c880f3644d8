#include "tests/edid/sample_displays.h"
#include "tests/edid/sample_timings.h"

namespace edid_test {
namespace {

// Byte 20: analog 0.7 V; DVI or HDMI (1.3); DisplayPort with 6, 8 or 10 bits (1.4).
constexpr unsigned kAnalog = 0x0E;
constexpr unsigned kDigital = 0x80;
constexpr unsigned kDisplayPort6 = 0x95;
constexpr unsigned kDisplayPort8 = 0xA5;
constexpr unsigned kDisplayPort10 = 0xB5;
// Byte 24: standby modes, sRGB, the first timing is preferred (or native).
constexpr unsigned kColor = 0xEE;
constexpr unsigned kPanel = 0x02;
constexpr unsigned kDisplayPortMonitor = 0x06;
// Byte 10 of the range limits in structure 1.4: limits only.
constexpr unsigned kLimitsOnly = 1;
// CTA-861 flags of a DisplayPort monitor: underscan, YCbCr 4:4:4 and 4:2:2.
constexpr unsigned kDisplayPortCta = 0xB1;
constexpr unsigned kVideo = 2;
constexpr unsigned kVideoCapability = 0x00;

EdidBuilder displayPort(unsigned product, unsigned input = kDisplayPort8) {
  return {"ORV", product, 4, input, kDisplayPortMonitor};
}

std::vector<SampleDisplay> analogAndDvi() {
  const Timing wide = reducedBlanking(1680, 1050, 60, 6);
  return {
      {"CRT monitor, VGA",
       EdidBuilder("ORV", 0x1001, 3, kAnalog, 0x6A)
           .made(20, 2003)
           .serial(10203)
           .size(400, 300)
           .established(0xFF, 0xEF, 0x80)
           .standard({0x81, 0x59, 0xA9, 0x40, 0xA9, 0x4F, 0xA9, 0x59})
           .timing(kUxga85)
           .range(50, 160, 30, 110, 240)
           .name("TUBE 2185")
           .serialText("A1B2C3")
           .table(),
       "TUBE 2185", "1600x1200 85.00 Hz", 400, 300},
      {"projector, VGA",
       EdidBuilder("ORV", 0x1002, 3, kAnalog, 0x0A)
           .made(3, 2006)
           .established(0x3F, 0xEE, 0x00)
           .standard({0x61, 0x40, 0x81, 0x80})
           .timing(kXga60)
           .range(50, 85, 15, 92, 110)
           .name("BEAM XGA")
           .table(),
       "BEAM XGA", "1024x768 60.00 Hz", 0, 0},
      {"5:4 monitor, DVI",
       EdidBuilder("ORV", 0x1003, 3, kDigital, kColor)
           .made(40, 2007)
           .size(376, 301)
           .established(0xA5, 0x4B, 0x00)
           .standard({0x71, 0x4F, 0x81, 0x80})
           .timing(kSxga60)
           .range(56, 75, 30, 81, 140)
           .name("ORV 19S")
           .serialText("SN-0042")
           .table(),
       "ORV 19S", "1280x1024 60.02 Hz", 376, 301},
      {"16:10 monitor, DVI",
       EdidBuilder("ORV", 0x1004, 3, kDigital, kColor)
           .made(12, 2008)
           .size(474, 296)
           .established(0xA5, 0x4B, 0x00)
           .standard({0xB3, 0x00, 0x95, 0x00, 0x81, 0x80})
           .timing(wide)
           .range(56, 75, 30, 82, 150)
           .name("ORV 22W")
           .table(),
       "ORV 22W", "1680x1050 59.88 Hz", 474, 296},
      {"4:3 monitor, DVI",
       EdidBuilder("ORV", 0x1005, 3, kDigital, kColor)
           .made(50, 2005)
           .size(408, 306)
           .established(0xA4, 0x4B, 0x00)
           .standard({0xA9, 0x40})
           .timing(kUxga60)
           .range(56, 76, 30, 95, 170)
           .name("ORV 20U")
           .table(),
       "ORV 20U", "1600x1200 60.00 Hz", 408, 306},
      {"1080p monitor, DVI",
       EdidBuilder("ORV", 0x1006, 3, kDigital, kColor)
           .made(7, 2010)
           .size(521, 293)
           .established(0x21, 0x08, 0x00)
           .standard({0xD1, 0xC0, 0xA9, 0xC0, 0x81, 0xC0})
           .timing(k1080p60)
           .range(56, 75, 30, 83, 150)
           .name("ORV 24D")
           .table(),
       "ORV 24D", "1920x1080 60.00 Hz", 521, 293},
  };
}

std::vector<SampleDisplay> panels() {
  return {
      {"laptop panel 1366x768",
       EdidBuilder("ORV", 0x2001, 4, kDisplayPort6, kPanel)
           .made(1, 2014)
           .size(309, 174)
           .timing(kWxga60)
           .text("B140XTN")
           .name("PANEL A")
           .table(),
       "PANEL A", "1366x768 59.79 Hz", 309, 174},
      {"laptop panel 1080p with a slow rate",
       EdidBuilder("ORV", 0x2002, 4, kDisplayPort6, kPanel)
           .made(22, 2018)
           .size(344, 194)
           .timing(reducedBlanking(1920, 1080, 60, 5))
           .timing(reducedBlanking(1920, 1080, 48, 5))
           .text("N156HCA")
           .name("PANEL B")
           .table(),
       "PANEL B", "1920x1080 59.93 Hz", 344, 194},
      {"laptop panel 2560x1600",
       EdidBuilder("ORV", 0x2003, 4, kDisplayPort10, kPanel)
           .made(31, 2021)
           .size(302, 189)
           .timing(reducedBlanking(2560, 1600, 60, 6))
           .text("NE140QDM")
           .name("PANEL C")
           .table(),
       "PANEL C", "2560x1600 59.97 Hz", 302, 189},
  };
}

std::vector<SampleDisplay> displayPortMonitors() {
  const Timing wuxga = reducedBlanking(1920, 1200, 60, 6);
  const Timing wqhd = reducedBlanking(2560, 1440, 60, 5);
  const Timing wqhd144 = reducedBlanking(2560, 1440, 144, 5);
  const Timing uhd = reducedBlanking(3840, 2160, 60, 5);
  const Timing ultraWide = reducedBlanking(3440, 1440, 60, 10);
  return {
      {"16:10 monitor, DisplayPort, no extension",
       displayPort(0x3001)
           .made(15, 2015)
           .size(518, 324)
           .established(0x21, 0x08, 0x00)
           .standard({0xD1, 0x00, 0xB3, 0x00, 0x81, 0x80})
           .timing(wuxga)
           .range(50, 61, 30, 81, 170, kLimitsOnly)
           .name("ORV 24P")
           .table(),
       "ORV 24P", "1920x1200 59.95 Hz", 518, 324},
      {"1440p monitor, DisplayPort",
       displayPort(0x3002)
           .made(30, 2019)
           .size(597, 336)
           .established(0x21, 0x08, 0x00)
           .standard({0xD1, 0xC0, 0xA9, 0xC0})
           .timing(wqhd)
           .range(48, 75, 30, 90, 250, kLimitsOnly)
           .name("ORV 27Q")
           .serialText("27Q-000123")
           .extension(CtaBuilder(kDisplayPortCta)
                          .data(kVideo, {16, 4, 3})
                          .extended(kVideoCapability, {0xCA})
                          .timing(k1080p60, 597, 336)
                          .block())
           .table(),
       "ORV 27Q", "2560x1440 59.95 Hz", 597, 336},
      {"144 Hz monitor, DisplayPort",
       displayPort(0x3003)
           .made(44, 2020)
           .size(597, 336)
           .established(0x21, 0x08, 0x00)
           .timing(wqhd144)
           .range(48, 144, 30, 223, 600, kLimitsOnly)
           .name("ORV 27G")
           .extension(CtaBuilder(kDisplayPortCta)
                          .data(kVideo, {16, 4})
                          .extended(kVideoCapability, {0xCA})
                          .timing(wqhd, 597, 336)
                          .block())
           .table(),
       "ORV 27G", "2560x1440 143.97 Hz", 597, 336},
      {"4K monitor, DisplayPort, with DisplayID",
       displayPort(0x3004, kDisplayPort10)
           .made(10, 2022)
           .size(697, 392)
           .established(0x21, 0x08, 0x00)
           .standard({0xD1, 0xC0})
           .timing(uhd)
           .range(48, 75, 30, 140, 540, kLimitsOnly)
           .name("ORV 32K")
           .extension(DisplayIdBuilder(0x12, 3)
                          .display("ORV", 0x3004, 697, 392, 3840, 2160)
                          .timing(uhd, true, 4)
                          .timing(wqhd, false, 4)
                          .block())
           .table(),
       "ORV 32K", "3840x2160 60.00 Hz", 697, 392},
      {"ultra-wide monitor, DisplayPort, CTA-861 and DisplayID",
       displayPort(0x3005, kDisplayPort10)
           .made(28, 2021)
           .size(797, 334)
           .established(0x21, 0x08, 0x00)
           .timing(ultraWide)
           .range(48, 100, 30, 150, 550, kLimitsOnly)
           .name("ORV 34UW")
           .extension(
               CtaBuilder(kDisplayPortCta).data(kVideo, {16, 4, 3, 1}).extended(kVideoCapability, {0xCA}).block())
           .extension(DisplayIdBuilder(0x13, 3)
                          .display("ORV", 0x3005, 797, 334, 3440, 1440)
                          .timing(ultraWide, true, 8)
                          .timing(reducedBlanking(3440, 1440, 100, 10), false, 8)
                          .block())
           .table(),
       "ORV 34UW", "3440x1440 59.97 Hz", 797, 334},
      {"monitor of any frequency, CVT codes",
       EdidBuilder("ORV", 0x3006, 4, kDisplayPort8, 0x07)
           .made(2, 2016)
           .size(518, 324)
           .established(0x21, 0x08, 0x00)
           .timing(wuxga)
           .range(50, 85, 30, 110, 290, kLimitsOnly)
           .name("ORV 24C")
           .descriptor(0xF8, {0, 1, 0x57, 0x28, 0x28, 0, 0, 0, 0, 0, 0, 0, 0, 0})
           .table(),
       "ORV 24C", "1920x1200 59.95 Hz", 518, 324},
      {"monitor with established timings III",
       displayPort(0x3007)
           .made(9, 2017)
           .size(474, 296)
           .established(0x21, 0x08, 0x00)
           .timing(reducedBlanking(1680, 1050, 60, 6))
           .range(50, 76, 30, 83, 190, kLimitsOnly)
           .name("ORV 22E")
           .descriptor(0xF7, {0, 0x0A, 0x00, 0x00, 0x20, 0x40, 0x00, 0x00})
           .table(),
       "ORV 22E", "1680x1050 59.88 Hz", 474, 296},
  };
}

}  // namespace

std::vector<SampleDisplay> sampleMonitors() {
  std::vector<SampleDisplay> all = analogAndDvi();
  for (const auto& more : {panels(), displayPortMonitors()}) {
    all.insert(all.end(), more.begin(), more.end());
  }
  return all;
}

}  // namespace edid_test
