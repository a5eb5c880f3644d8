#include "edid/edid_description.h"
#include "tests/edid/sample_timings.h"

#include <QTest>

using edid::Description;
using edid::Mode;
using edid_test::DisplayIdBuilder;

namespace {

Description describedSection(const DisplayIdBuilder& section) {
  edid_test::EdidBuilder builder("ORV", 1, 3, 0x80, 0x0A);
  builder.timing(edid_test::k1080p60).extension(section.block());
  return *edid::describe(builder.table());
}

/// What the data blocks of CTA-861 in a DisplayID section say.
Description withCtaBlocks(std::initializer_list<unsigned> bytes) {
  return describedSection(DisplayIdBuilder(0x13, 3).data(0x81, 0, bytes));
}

/// The DisplayID modes, with their clocks; "preferred" before those.
QStringList modesOf(const Description& description) {
  QStringList list;
  for (const Mode& mode : description.modes) {
    if (mode.source == edid::ModeSource::kDisplayId) {
      list << QStringLiteral("%1%2, %3 kHz")
                  .arg(QLatin1String(mode.preferred ? "preferred " : ""), QString::fromStdString(textOf(mode)))
                  .arg(mode.pixelClockKhz);
    }
  }
  return list;
}

}  // namespace

/// The data blocks of a DisplayID section.
class DisplayIdDescriptionTest : public QObject {
  Q_OBJECT

 private slots:
  void theVersionIsRead() {
    QCOMPARE(describedSection(DisplayIdBuilder(0x12, 3)).displayIdVersion.c_str(), "1.2");
    QCOMPARE(describedSection(DisplayIdBuilder(0x20, 3)).displayIdVersion.c_str(), "2.0");
  }

  void timingsOfType1CountIn10Khz() {
    const Description description = describedSection(DisplayIdBuilder(0x13, 3)
                                                         .timing(edid_test::k720p60, false, 4)
                                                         .timing(edid_test::k1080p50, true, 4)
                                                         .timing(edid_test::k1080i60, false, 4));
    QCOMPARE(modesOf(description),
             (QStringList{"1280x720 60.00 Hz, 74250 kHz", "preferred 1920x1080 50.00 Hz, 148500 kHz",
                          "1920x1080i 60.00 Hz, 74250 kHz"}));
  }

  void timingsOfType7CountInKhz() {
    // 1920x1080 at 60 Hz; every number is stored less one.
    const Description description = describedSection(
        DisplayIdBuilder(0x20, 3).data(0x22, 0, {0x13, 0x44, 0x02, 0x84, 0x7F, 0x07, 0x17, 0x01, 0x57, 0x80,
                                                 0x2B, 0x00, 0x37, 0x04, 0x2C, 0x00, 0x03, 0x80, 0x04, 0x00}));
    QCOMPARE(modesOf(description), QStringList{"preferred 1920x1080 60.00 Hz, 148500 kHz"});
  }

  void anIncompleteTimingIsLeftOut() {
    QVERIFY(modesOf(describedSection(DisplayIdBuilder(0x20, 3).data(
                        0x22, 0, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})))
                .isEmpty());
  }

  void ctaDataBlocksCountHereToo() {
    // Speakers, a video capability, and speakers once more.
    const Description description = withCtaBlocks({0x83, 0x01, 0, 0, 0xE2, 0x00, 0x40, 0x83, 0x02, 0, 0});
    QCOMPARE(description.speakers, (std::vector<std::string>{"FL/FR", "LFE1"}));
    QVERIFY(description.videoCapability && description.videoCapability->selectableRgbRange);
    QVERIFY(!description.hasCta);
  }

  void ctaDataBlocksEndWithTheSection() {
    QCOMPARE(withCtaBlocks({0x83, 0x01, 0, 0, 0x83, 0x02, 0}).speakers, std::vector<std::string>{"FL/FR"});
    QCOMPARE(withCtaBlocks({0x81, 0x02}).speakers, std::vector<std::string>{"LFE1"});
    QVERIFY(withCtaBlocks({0x82, 0x02}).speakers.empty());
  }

  void anExtendedBlockWithoutItsTagSaysNothing() {
    const Description description = withCtaBlocks({0xE0, 0x81, 0x01});
    QVERIFY(!description.videoCapability);
    QCOMPARE(description.speakers, std::vector<std::string>{"FL/FR"});
  }

  void onlyABlockOfZerosEndsTheSection() {
    const auto speakersBehind = [](unsigned tag, unsigned revision, std::initializer_list<unsigned> bytes) {
      return describedSection(DisplayIdBuilder(0x13, 3).data(tag, revision, bytes).data(0x81, 0, {0x83, 0x01, 0, 0}))
          .speakers;
    };
    QVERIFY(speakersBehind(0, 0, {}).empty());
    for (const auto& speakers : {speakersBehind(1, 0, {}), speakersBehind(0, 1, {}), speakersBehind(0, 0, {0})}) {
      QCOMPARE(speakers, std::vector<std::string>{"FL/FR"});
    }
  }

  void otherDataBlocksSayNothing() {
    QVERIFY(withCtaBlocks({}).speakers.empty());
    const Description description = describedSection(DisplayIdBuilder(0x13, 3).data(0x7E, 0, {0x81, 0x01}));
    QVERIFY(description.speakers.empty() && modesOf(description).isEmpty());
  }

  void everySourceHasItsName() {
    using edid::ModeSource;
    const QVector<QPair<ModeSource, const char*>> names{{ModeSource::kEstablished, "established timing"},
                                                        {ModeSource::kStandard, "standard timing"},
                                                        {ModeSource::kCvt, "CVT code"},
                                                        {ModeSource::kDetailed, "detailed timing"},
                                                        {ModeSource::kCta, "CTA-861 video code"},
                                                        {ModeSource::kHdmi, "HDMI video code"},
                                                        {ModeSource::kDisplayId, "DisplayID timing"}};
    for (const auto& [source, name] : names) {
      QCOMPARE(edid::textOf(source), name);
    }
  }

  void aModeIsShownWithItsRate_data() {
    QTest::addColumn<unsigned>("width");
    QTest::addColumn<unsigned>("height");
    QTest::addColumn<bool>("interlaced");
    QTest::addColumn<unsigned>("milliHz");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("progressive") << 1920U << 1080U << false << 59'940U << QByteArray("1920x1080 59.94 Hz");
    QTest::newRow("interlaced") << 720U << 576U << true << 50'000U << QByteArray("720x576i 50.00 Hz");
    QTest::newRow("rounded") << 1U << 1U << false << 59'996U << QByteArray("1x1 60.00 Hz");
    QTest::newRow("no width") << 0U << 1U << false << 60'000U << QByteArray("video code 97");
    QTest::newRow("no height") << 1U << 0U << false << 60'000U << QByteArray("video code 97");
  }

  void aModeIsShownWithItsRate() {
    QFETCH(unsigned, width);
    QFETCH(unsigned, height);
    QFETCH(bool, interlaced);
    QFETCH(unsigned, milliHz);
    QFETCH(QByteArray, text);
    Mode mode;
    mode.width = width;
    mode.height = height;
    mode.interlaced = interlaced;
    mode.refreshMilliHz = milliHz;
    mode.code = 97;
    QCOMPARE(QByteArray::fromStdString(textOf(mode)), text);
  }

  void whatIsNotToldIsEmptyOr0() {
    const Description none;
    QVERIFY(none.product == 0 && none.serialNumber == 0 && none.week == 0 && none.year == 0 && !none.isModelYear);
    QVERIFY(none.version == 0 && none.revision == 0 && !none.digital && none.bitsPerColor == 0);
    QVERIFY(none.widthMm == 0 && none.heightMm == 0 && !none.srgb && !none.continuousFrequency);
    QVERIFY(!none.hasCta && none.ctaRevision == 0 && !none.underscan && !none.basicAudio);
    QVERIFY(!none.ycbcr444 && !none.ycbcr422 && none.extensionCount == 0);
    const Mode mode;
    QVERIFY(mode.width == 0 && mode.height == 0 && mode.refreshMilliHz == 0 && mode.pixelClockKhz == 0);
    QVERIFY(mode.code == 0 && !mode.interlaced && !mode.preferred && !mode.native && !mode.only420 && !mode.also420);
    const edid::RangeLimits range;
    QVERIFY(range.minVerticalHz == 0 && range.maxVerticalHz == 0 && range.minHorizontalKhz == 0);
    QVERIFY(range.maxHorizontalKhz == 0 && range.maxPixelClockMhz == 0);
    const edid::AudioFormat audio;
    QVERIFY(audio.channels == 0 && audio.maxKbps == 0);
    const edid::HdmiBlock hdmi;
    QVERIFY(hdmi.maxTmdsClockMhz == 0 && !hdmi.dualLinkDvi && !hdmi.acceptsAi && !hdmi.threeD);
    const edid::HdmiForumBlock forum;
    QVERIFY(forum.version == 0 && forum.maxTmdsRateMhz == 0 && forum.minVrrHz == 0 && forum.maxVrrHz == 0);
    QVERIFY(!forum.scdc && !forum.scramblingBelow340 && !forum.autoLowLatency);
    const edid::VideoCapability capability;
    QVERIFY(!capability.selectableRgbRange && !capability.selectableYccRange);
    const edid::VendorBlock vendor;
    QVERIFY(!vendor.video && vendor.bytes == 0);
    const edid::BlockInfo block;
    QVERIFY(block.tag == 0 && block.checksum == 0 && !block.checksumRight);
  }

  void thePreferredModeIsTheFirstOfThem() {
    Description description;
    QVERIFY(description.preferredMode() == nullptr);
    description.modes.resize(3);
    QVERIFY(description.preferredMode() == nullptr);
    description.modes[1].preferred = description.modes[2].preferred = true;
    QCOMPARE(description.preferredMode(), &description.modes[1]);
  }
};

QTEST_GUILESS_MAIN(DisplayIdDescriptionTest)
#include "displayid_description_test.moc"
