#include "edid/edid_description.h"

#include "tests/edid/described_modes.h"
#include "tests/edid/sample_displays.h"
#include "tests/edid/sample_timings.h"

#include <QTest>

#include <algorithm>

using edid::Description;
using edid::Mode;
using edid::ModeSource;
using edid_test::SampleDisplay;
using edid_test::Table;

namespace {

Description described(const char* kind) {
  for (const SampleDisplay& display : edid_test::sampleDisplays()) {
    if (QByteArray(kind) == display.kind) {
      return *edid::describe(display.table);
    }
  }
  qFatal("no sample display '%s'", kind);
}

QStringList listOf(const std::vector<std::string>& texts) {
  QStringList list;
  for (const std::string& text : texts) {
    list << QString::fromStdString(text);
  }
  return list;
}

QString text(const edid::AudioFormat& format) {
  const auto numbers = [](const std::vector<std::uint32_t>& values) {
    QStringList list;
    for (const std::uint32_t value : values) {
      list << QString::number(value);
    }
    return list.join('/');
  };
  return QStringLiteral("%1 %2ch %3 [%4] %5")
      .arg(QString::fromStdString(format.name))
      .arg(format.channels)
      .arg(numbers(format.samplingRatesHz), numbers(format.bitDepths))
      .arg(format.maxKbps);
}

Description ofBase(const edid_test::EdidBuilder& builder) { return *edid::describe(builder.table()); }

}  // namespace

/// The readable description of a display.
class EdidDescriptionTest : public QObject {
  Q_OBJECT

 private slots:
  void everyDisplayShowsNameSizeAndPreferredMode() {
    for (const SampleDisplay& display : edid_test::sampleDisplays()) {
      const auto description = edid::describe(display.table);
      QVERIFY(description);
      QCOMPARE(description->name.c_str(), display.name);
      QCOMPARE(description->maker.c_str(), "ORV");
      QCOMPARE(description->widthMm, display.widthMm);
      QCOMPARE(description->heightMm, display.heightMm);
      QVERIFY2(description->preferredMode() != nullptr, display.kind);
      QCOMPARE(textOf(*description->preferredMode()).c_str(), display.preferred);
      QCOMPARE(description->blocks.size(), display.table.size() / 128);
      QCOMPARE(description->extensionCount, display.table.size() / 128 - 1);
      for (const edid::BlockInfo& block : description->blocks) {
        QVERIFY(block.checksumRight && !block.name.empty());
      }
    }
  }

  void identityIsRead() {
    const Description tube = described("CRT monitor, VGA");
    QCOMPARE(+tube.product, 0x1001);
    QCOMPARE(tube.serialNumber, 10203U);
    QCOMPARE(tube.serialText.c_str(), "A1B2C3");
    QCOMPARE(tube.week, 20U);
    QCOMPARE(tube.year, 2003U);
    QVERIFY(!tube.isModelYear && !tube.digital);
    QCOMPARE(+tube.version, 1);
    QCOMPARE(+tube.revision, 3);
    QVERIFY(tube.gamma && qAbs(*tube.gamma - 2.2) < 1e-9);
    QVERIFY(tube.range);
    QCOMPARE(tube.range->minVerticalHz, 50U);
    QCOMPARE(tube.range->maxVerticalHz, 160U);
    QCOMPARE(tube.range->minHorizontalKhz, 30U);
    QCOMPARE(tube.range->maxHorizontalKhz, 110U);
    QCOMPARE(tube.range->maxPixelClockMhz, 240U);
    QCOMPARE(listOf(described("laptop panel 1366x768").texts), QStringList{"B140XTN"});
  }

  void aModelYearIsNotTheYearOfManufacture() {
    const Description description =
        ofBase(edid_test::EdidBuilder("ZAA", 1, 4, 0xA5, 0x06).made(0xFF, 2023).timing(edid_test::k1080p60));
    QVERIFY(description.isModelYear);
    QCOMPARE(description.year, 2023U);
    QCOMPARE(description.week, 0U);
    QCOMPARE(description.maker.c_str(), "ZAA");
  }

  void structure14GivesInterfaceAndDepth_data() {
    QTest::addColumn<int>("input");
    QTest::addColumn<QByteArray>("videoInterface");
    QTest::addColumn<int>("bits");
    QTest::newRow("DisplayPort, 6 bits") << 0x95 << QByteArray("DisplayPort") << 6;
    QTest::newRow("HDMI-a, 8 bits") << 0xA2 << QByteArray("HDMI-a") << 8;
    QTest::newRow("HDMI-b, 10 bits") << 0xB3 << QByteArray("HDMI-b") << 10;
    QTest::newRow("DVI, 16 bits") << 0xE1 << QByteArray("DVI") << 16;
    QTest::newRow("MDDI, 12 bits") << 0xC4 << QByteArray("MDDI") << 12;
    QTest::newRow("nothing told") << 0x80 << QByteArray("") << 0;
    QTest::newRow("reserved") << 0xFF << QByteArray("") << 0;
  }

  void structure14GivesInterfaceAndDepth() {
    QFETCH(int, input);
    QFETCH(QByteArray, videoInterface);
    QFETCH(int, bits);
    const Description description =
        ofBase(edid_test::EdidBuilder("ORV", 1, 4, static_cast<unsigned>(input), 0x06).timing(edid_test::k1080p60));
    QVERIFY(description.digital);
    QCOMPARE(QByteArray(description.videoInterface.c_str()), videoInterface);
    QCOMPARE(static_cast<int>(description.bitsPerColor), bits);
  }

  void ratesAbove255AreRaisedIn14() {
    const Description description = ofBase(
        edid_test::EdidBuilder("ORV", 1, 4, 0xA5, 0x06).timing(edid_test::k1080p60).range(48, 360, 30, 400, 1000, 1));
    QCOMPARE(description.range->minVerticalHz, 48U);
    QCOMPARE(description.range->maxVerticalHz, 360U);
    QCOMPARE(description.range->maxHorizontalKhz, 400U);
  }

  void anAspectRatioInATimingIsNotASize() {
    edid_test::EdidBuilder builder("ORV", 1, 3, 0x80, 0x0E);
    builder.size(160, 90).timing(edid_test::k1080p60).size(1430, 800);
    const Description description = ofBase(builder);
    QCOMPARE(description.widthMm, 1430U);
    QCOMPARE(description.heightMm, 800U);
  }

  void textsAreMadePrintable() {
    const Description description =
        ofBase(edid_test::EdidBuilder("ORV", 1, 3, 0x80, 0x0E).timing(edid_test::k1080p60).name("A\x1B<b>\xE4\x7F  "));
    QCOMPARE(description.name.c_str(), "A?<b>??");
  }

  void modesNamedByBitsAndCodesAreRead() {
    const Description tube = described("CRT monitor, VGA");
    QCOMPARE(modesOf(tube, ModeSource::kEstablished).size(), 16);
    QCOMPARE(modesOf(tube, ModeSource::kEstablished).first(), QString("720x400 70.08 Hz"));
    QCOMPARE(modesOf(tube, ModeSource::kEstablished).last(), QString("1152x870 75.06 Hz"));
    QCOMPARE(modesOf(tube, ModeSource::kStandard),
             (QStringList{"1280x960 85.00 Hz", "1600x1200 60.00 Hz", "1600x1200 75.00 Hz", "1600x1200 85.00 Hz"}));
    QCOMPARE(modesOf(described("monitor of any frequency, CVT codes"), ModeSource::kCvt),
             QStringList{"1920x1200 60.00 Hz"});
    const QStringList more = modesOf(described("monitor with established timings III"), ModeSource::kEstablished);
    QVERIFY(more.contains("1440x900 59.89 Hz") && more.contains("1680x1050 59.88 Hz") && more.size() == 5);
    QCOMPARE(modesOf(described("ultra-wide monitor, DisplayPort, CTA-861 and DisplayID"), ModeSource::kDisplayId),
             (QStringList{"3440x1440 59.97 Hz", "3440x1440 99.98 Hz"}));
    QCOMPARE(modesOf(described("4K television at 30 Hz"), ModeSource::kHdmi),
             (QStringList{"3840x2160 30.00 Hz", "3840x2160 25.00 Hz", "3840x2160 24.00 Hz", "4096x2160 24.00 Hz"}));
    QCOMPARE(modesOf(described("1080p television at 50 Hz, surround"), ModeSource::kDetailed),
             (QStringList{"1920x1080 50.00 Hz", "1280x720 50.00 Hz", "1920x1080i 60.00 Hz"}));
  }

  void aPixelClockWithAByteOfZeroIsOne() {
    // 163.84 MHz and 2.55 MHz in units of 10 kHz: 0x4000 and 0x00FF, low byte first.
    for (const unsigned clockKhz : {163'840U, 2'550U}) {
      edid_test::Timing timing = edid_test::k720p60;
      timing.clockKhz = clockKhz;
      edid_test::EdidBuilder builder("ORV", 1, 3, 0x80, 0x0A);
      builder.timing(edid_test::k1080p60)
          .extension(
              edid_test::CtaBuilder(0x01).timing(edid_test::k720p50, 1600, 900).timing(timing, 1600, 900).block());
      const Description description = ofBase(builder);
      QCOMPARE(modesOf(description, ModeSource::kDetailed).size(), 3);
      QCOMPARE(description.modes.back().pixelClockKhz, clockKhz);
    }
  }

  void videoCodesGiveNativeAnd420() {
    const Description full = described("1080p television at 50 Hz, surround");
    QStringList natives;
    for (const Mode& mode : full.modes) {
      if (mode.native) {
        natives << QStringLiteral("%1: %2").arg(mode.code).arg(textOf(mode).c_str());
      }
    }
    QCOMPARE(natives, QStringList{"31: 1920x1080 50.00 Hz"});

    int only = 0;
    for (const Mode& mode : described("4K television at 60 Hz in 4:2:0").modes) {
      QCOMPARE(mode.only420, mode.code == 97 || mode.code == 96);
      only += mode.only420 ? 1 : 0;
    }
    QCOMPARE(only, 2);
    for (const Mode& mode : described("4K television with HDR").modes) {
      QCOMPARE(mode.also420, mode.code == 97 || mode.code == 96);
    }
  }

  void audioIsRead() {
    QStringList formats;
    for (const edid::AudioFormat& format : described("audio receiver").audio) {
      formats << text(format);
    }
    QCOMPARE(formats,
             (QStringList{"LPCM 8ch 32000/44100/48000/88200/96000/176400/192000 [16/20/24] 0",
                          "AC-3 6ch 32000/44100/48000 [] 640", "AAC LC 6ch 44100/48000 [] 480",
                          "DTS 7ch 44100/48000/88200/96000 [] 1536", "One Bit Audio 6ch 44100 [] 0",
                          "Enhanced AC-3 8ch 44100/48000 [] 0", "DTS-HD 8ch 44100/48000/88200/96000/176400/192000 [] 0",
                          "MAT 8ch 44100/48000/88200/96000/176400/192000 [] 0"}));
    QCOMPARE(listOf(described("audio receiver").speakers),
             (QStringList{"FL/FR", "LFE1", "FC", "BL/BR", "BC", "FLc/FRc", "RLC/RRC"}));
    QVERIFY(described("audio receiver").basicAudio);
    QVERIFY(described("5:4 monitor, DVI").audio.empty() && !described("5:4 monitor, DVI").basicAudio);
  }

  void hdmiBlocksAreRead() {
    const Description slow = described("4K television at 30 Hz");
    QVERIFY(slow.hdmi && !slow.hdmiForum && !slow.hdr);
    QCOMPARE(slow.hdmi->physicalAddress.c_str(), "2.0.0.0");
    QCOMPARE(slow.hdmi->maxTmdsClockMhz, 300U);
    QCOMPARE(listOf(slow.hdmi->deepColor), (QStringList{"30 bit", "36 bit"}));
    QVERIFY(slow.hdmi->acceptsAi && !slow.hdmi->dualLinkDvi && !slow.hdmi->threeD);

    const Description fast = described("4K television at 120 Hz");
    QVERIFY(fast.hdmiForum);
    QCOMPARE(+fast.hdmiForum->version, 1);
    QCOMPARE(fast.hdmiForum->maxTmdsRateMhz, 600U);
    QCOMPARE(fast.hdmiForum->maxFixedRateLink.c_str(), "10 Gbps, 4 lanes");
    QVERIFY(fast.hdmiForum->scdc && fast.hdmiForum->autoLowLatency && !fast.hdmiForum->scramblingBelow340);
    QCOMPARE(listOf(fast.hdmiForum->deepColor420), (QStringList{"30 bit", "36 bit"}));
    QCOMPARE(fast.hdmiForum->minVrrHz, 48U);
    QCOMPARE(fast.hdmiForum->maxVrrHz, 120U);
    QCOMPARE(fast.vendors.size(), std::size_t{1});
    QCOMPARE(fast.vendors[0].oui.c_str(), "90-84-8B");
    QCOMPARE(fast.vendors[0].name.c_str(), "HDR10+");
    QVERIFY(fast.vendors[0].video && fast.vendors[0].bytes == 1);
    QVERIFY(!described("5:4 monitor, DVI").hdmi);
  }

  void aSinkCapabilityBlockSaysTheSame() {
    edid_test::EdidBuilder builder("ORV", 1, 3, 0x80, 0x0E);
    builder.timing(edid_test::k1080p60)
        .extension(edid_test::CtaBuilder(0xF1).extended(0x79, {0, 0, 0x01, 120, 0x88, 0x60, 0x02, 0x70, 0x40}).block());
    const Description description = ofBase(builder);
    QVERIFY(description.hdmiForum);
    QCOMPARE(description.hdmiForum->maxTmdsRateMhz, 600U);
    QCOMPARE(description.hdmiForum->maxFixedRateLink.c_str(), "12 Gbps, 4 lanes");
    QVERIFY(description.hdmiForum->scdc && description.hdmiForum->scramblingBelow340);
    QCOMPARE(description.hdmiForum->minVrrHz, 48U);
    QCOMPARE(description.hdmiForum->maxVrrHz, 256U + 64U);
  }

  void hdrAndColorimetryAreRead() {
    const Description hdr = described("4K television with HDR");
    QVERIFY(hdr.hdr && hdr.videoCapability);
    QCOMPARE(listOf(hdr.hdr->transferFunctions), (QStringList{"SDR gamma", "PQ (ST 2084)", "HLG"}));
    // 50 * 2^(96/32), 50 * 2^(80/32), the highest * (32/255)^2 / 100
    QCOMPARE(qRound(*hdr.hdr->maxLuminance * 1000), 400'000);
    QCOMPARE(qRound(*hdr.hdr->maxFrameAverageLuminance * 1000), 282'843);
    QCOMPARE(qRound(*hdr.hdr->minLuminance * 1'000'000), 62'991);
    QCOMPARE(listOf(hdr.colorimetry), (QStringList{"xvYCC601", "xvYCC709", "BT.2020 YCC", "BT.2020 RGB"}));
    QVERIFY(hdr.videoCapability->selectableRgbRange && hdr.videoCapability->selectableYccRange);
    const Description eightK = described("8K television");
    QVERIFY(eightK.hdr && !eightK.hdr->maxLuminance && !eightK.hdr->minLuminance);
    QVERIFY(listOf(eightK.colorimetry).contains("DCI-P3"));
  }

  void extensionsAreNamed() {
    const Description wall = described("block map, two CTA-861 extensions and DisplayID");
    QStringList names;
    for (const edid::BlockInfo& block : wall.blocks) {
      names << block.name.c_str();
    }
    QCOMPARE(names, (QStringList{"EDID base", "Block Map", "CTA-861", "CTA-861", "DisplayID"}));
    QCOMPARE(wall.displayIdVersion.c_str(), "1.2");
    QVERIFY(wall.hasCta && wall.ycbcr444 && wall.ycbcr422 && wall.underscan);
  }

  void bytesBehindTheDeclaredExtensionsAreNotRead() {
    Table table = edid_test::sampleTelevisions()[0].table;
    table[126] = 0;
    const auto description = edid::describe(table);
    QVERIFY(description && !description->hasCta && !description->hdmi);
    QCOMPARE(description->blocks.size(), std::size_t{2});
    QVERIFY(!description->blocks[0].checksumRight && description->blocks[1].checksumRight);
  }

  void lessThanABlockIsNotDescribed() {
    const Table table = edid_test::sampleMonitors()[0].table;
    QVERIFY(!edid::describe({}));
    QVERIFY(!edid::describe(std::span(table).first(127)));
    QVERIFY(edid::describe(std::span(table).first(128)));
  }
};

QTEST_GUILESS_MAIN(EdidDescriptionTest)
#include "edid_description_test.moc"
