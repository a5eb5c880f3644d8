#include "edid/edid_description.h"
#include "tests/edid/sample_timings.h"

#include <QTest>

using edid::Description;
using edid::Mode;
using edid_test::CtaBuilder;

namespace {

Description describedCta(const CtaBuilder& extension) {
  edid_test::EdidBuilder builder("ORV", 1, 3, 0x80, 0x0A);
  builder.timing(edid_test::k1080p60).extension(extension.block());
  return *edid::describe(builder.table());
}

Description withData(unsigned tag, std::initializer_list<unsigned> bytes) {
  return describedCta(CtaBuilder(0).data(tag, bytes));
}

Description withExtended(unsigned tag, std::initializer_list<unsigned> bytes) {
  return describedCta(CtaBuilder(0).extended(tag, bytes));
}

/// For example "FL/FR LFE1 FC"; "-" for an empty text.
QString joined(const std::vector<std::string>& texts) {
  QStringList list;
  for (const std::string& text : texts) {
    list << (text.empty() ? QStringLiteral("-") : QString::fromStdString(text));
  }
  return list.join(QStringLiteral(", "));
}

/// The CTA-861 codes of the modes, "n" behind a native one, "o" behind one in 4:2:0 only,
/// "a" behind one that is also in 4:2:0.
QString codesOf(const Description& description) {
  QStringList codes;
  for (const Mode& mode : description.modes) {
    if (mode.source == edid::ModeSource::kCta) {
      codes << QString::number(mode.code) + (mode.native ? "n" : "") + (mode.only420 ? "o" : "") +
                   (mode.also420 ? "a" : "");
    }
  }
  return codes.join(' ');
}

constexpr unsigned kAudio = 1;
constexpr unsigned kVideo = 2;
constexpr unsigned kVendor = 3;
constexpr unsigned kSpeakers = 4;

}  // namespace

/// Each data block of a CTA-861 extension, bit by bit and code by code.
class CtaDescriptionTest : public QObject {
  Q_OBJECT

 private slots:
  void flagsCountFromRevision2On_data() {
    QTest::addColumn<unsigned>("revision");
    QTest::addColumn<unsigned>("flags");
    QTest::addColumn<QString>("told");
    QTest::newRow("revision 1") << 1U << 0xF0U << "";
    QTest::newRow("revision 2") << 2U << 0xF0U << "underscan audio 444 422";
    QTest::newRow("revision 3") << 3U << 0xF0U << "underscan audio 444 422";
    QTest::newRow("none, with a number of native timings") << 3U << 0x0FU << "";
    QTest::newRow("underscan") << 3U << 0x80U << "underscan";
    QTest::newRow("basic audio") << 3U << 0x40U << "audio";
    QTest::newRow("4:4:4") << 3U << 0x20U << "444";
    QTest::newRow("4:2:2") << 3U << 0x10U << "422";
  }

  void flagsCountFromRevision2On() {
    QFETCH(unsigned, revision);
    QFETCH(unsigned, flags);
    QFETCH(QString, told);
    const Description cta = describedCta(CtaBuilder(flags, revision));
    QCOMPARE(unsigned{cta.ctaRevision}, revision);
    QStringList words;
    words << (cta.underscan ? "underscan" : "") << (cta.basicAudio ? "audio" : "") << (cta.ycbcr444 ? "444" : "")
          << (cta.ycbcr422 ? "422" : "");
    words.removeAll("");
    QCOMPARE(words.join(' '), told);
  }

  void everySpeakerHasItsBit() {
    QCOMPARE(joined(withData(kSpeakers, {0xFF, 0, 0}).speakers),
             QString("FL/FR, LFE1, FC, BL/BR, BC, FLc/FRc, RLC/RRC, FLw/FRw"));
    QCOMPARE(joined(withData(kSpeakers, {0, 0xFF, 0}).speakers),
             QString("TpFL/TpFR, TpC, TpFC, LS/RS, LFE2, TpBC, SiL/SiR, TpSiL/TpSiR"));
    QCOMPARE(joined(withData(kSpeakers, {0, 0, 0xFF}).speakers), QString("TpBL/TpBR, BtFC, BtFL/BtFR, TpLS/TpRS"));
    QCOMPARE(joined(withData(kSpeakers, {0x02, 0x40, 0x08}).speakers), QString("LFE1, SiL/SiR, TpLS/TpRS"));
    QCOMPARE(joined(withData(kSpeakers, {0x01}).speakers), QString("FL/FR"));
  }

  void everyAudioCodeHasItsName() {
    const QStringList names{"reserved code 0", "LPCM",   "AC-3", "MPEG-1", "MP3",
                            "MPEG-2",          "AAC LC", "DTS",  "ATRAC",  "One Bit Audio",
                            "Enhanced AC-3",   "DTS-HD", "MAT",  "DST",    "WMA Pro"};
    for (int code = 0; code < names.size(); ++code) {
      const Description description = withData(kAudio, {static_cast<unsigned>(code) << 3 | 5U, 0, 0xFF});
      QCOMPARE(description.audio.size(), std::size_t{1});
      const edid::AudioFormat& format = description.audio[0];
      QCOMPARE(QString::fromStdString(format.name), names[code]);
      QCOMPARE(+format.channels, 6);
      QVERIFY(format.samplingRatesHz.empty());
      // CTA-861-H: byte 3 holds the bit depths of LPCM, an eighth of the rate of codes 2 to 8.
      QCOMPARE(format.bitDepths, code == 1 ? (std::vector<std::uint32_t>{16, 20, 24}) : std::vector<std::uint32_t>{});
      QCOMPARE(format.maxKbps, code >= 2 && code <= 8 ? 2040U : 0U);
    }
  }

  void everyAudioExtensionCodeHasItsName() {
    const QMap<unsigned, QString> names{{4, "MPEG-4 HE AAC"},
                                        {5, "MPEG-4 HE AAC v2"},
                                        {6, "MPEG-4 AAC LC"},
                                        {7, "DRA"},
                                        {8, "MPEG-4 HE AAC + MPEG Surround"},
                                        {10, "MPEG-4 AAC LC + MPEG Surround"},
                                        {11, "MPEG-H 3D Audio"},
                                        {12, "AC-4"},
                                        {13, "LPCM 3D"}};
    for (unsigned code = 0; code < 32; ++code) {
      const Description description = withData(kAudio, {15U << 3 | 1U, 0x7F, code << 3 | 7U});
      QCOMPARE(QString::fromStdString(description.audio.at(0).name),
               names.value(code, QStringLiteral("reserved code %1").arg(code)));
      QVERIFY(description.audio[0].bitDepths.empty() && description.audio[0].maxKbps == 0);
    }
  }

  void everyRateAndDepthHasItsBit() {
    const std::vector<std::uint32_t> rates{32'000, 44'100, 48'000, 88'200, 96'000, 176'400, 192'000};
    for (unsigned i = 0; i < 8; ++i) {
      const Description description = withData(kAudio, {1U << 3, 1U << i, 1U << i});
      const edid::AudioFormat& format = description.audio.at(0);
      const std::vector<std::uint32_t> none;
      QCOMPARE(format.samplingRatesHz, i < 7 ? (std::vector<std::uint32_t>{rates[i]}) : none);
      QCOMPARE(format.bitDepths, i < 3 ? (std::vector<std::uint32_t>{16 + 4 * i}) : none);
      QCOMPARE(+format.channels, 1);
    }
  }

  void anIncompleteAudioDescriptorIsLeftOut() {
    QCOMPARE(withData(kAudio, {0x09, 7, 7, 0x15, 7, 7, 0x09, 7}).audio.size(), std::size_t{2});
    QVERIFY(withData(kAudio, {0x09, 7}).audio.empty());
  }

  void videoCodesAreReadToTheirEdges() {
    QCOMPARE(codesOf(withData(kVideo, {0, 1, 64, 65, 127, 128, 129, 192, 193, 253, 254, 255})),
             QString("1 64 65 127 1n 64n 193 253"));
    QCOMPARE(codesOf(withExtended(0x0E, {96, 97})), QString("96o 97o"));
  }

  void theMapOf420CountsTheVideoCodes() {
    const auto mapped = [](std::initializer_list<unsigned> map) {
      return codesOf(describedCta(CtaBuilder(0)
                                      .extended(0x0F, map)
                                      .data(kVideo, {16, 4, 31, 97, 96, 95, 94, 93, 102, 101})
                                      .extended(0x0E, {99})));
    };
    QCOMPARE(mapped({0x09}), QString("16a 4 31 97a 96 95 94 93 102 101 99o"));
    QCOMPARE(mapped({0x80, 0x02}), QString("16 4 31 97 96 95 94 93a 102 101a 99o"));
    // Reserved codes count, too; a second block goes on counting.
    QCOMPARE(
        codesOf(describedCta(
            CtaBuilder(0).data(kVideo, {16, 0, 254, 128, 4}).extended(0x0F, {0x30}).data(kVideo, {0x80 | 31, 97}))),
        QString("16 4a 31na 97"));
    QCOMPARE(mapped({}), QString("16a 4a 31a 97a 96a 95a 94a 93a 102a 101a 99o"));
  }

  void theHdmiBlockIsReadToItsEnd_data() {
    QTest::addColumn<unsigned>("flags");
    QTest::addColumn<QString>("told");
    QTest::newRow("nothing") << 0x00U << "";
    QTest::newRow("audio information") << 0x80U << "ai";
    QTest::newRow("48 bit") << 0x40U << "48 bit";
    QTest::newRow("36 bit") << 0x20U << "36 bit";
    QTest::newRow("30 bit") << 0x10U << "30 bit";
    QTest::newRow("4:4:4 alone") << 0x08U << "";
    QTest::newRow("dual link") << 0x01U << "dvi";
  }

  void theHdmiBlockIsReadToItsEnd() {
    QFETCH(unsigned, flags);
    QFETCH(QString, told);
    const Description description = withData(kVendor, {0x03, 0x0C, 0x00, 0x12, 0x34, flags, 60});
    QVERIFY(description.hdmi && description.vendors.empty());
    QCOMPARE(description.hdmi->physicalAddress.c_str(), "1.2.3.4");
    QCOMPARE(description.hdmi->maxTmdsClockMhz, 300U);
    QCOMPARE((description.hdmi->acceptsAi ? "ai" : "") + joined(description.hdmi->deepColor) +
                 (description.hdmi->dualLinkDvi ? "dvi" : ""),
             told);
    QVERIFY(!description.hdmi->threeD);
  }

  void hdmiCodesStandBehindTheLatencies_data() {
    QTest::addColumn<unsigned>("flags");
    QTest::addColumn<int>("latencies");
    QTest::newRow("none") << 0x20U << 0;
    QTest::newRow("of progressive modes") << 0xA0U << 2;
    QTest::newRow("of interlaced modes") << 0x60U << 2;
    QTest::newRow("of both") << 0xE0U << 4;
  }

  void hdmiCodesStandBehindTheLatencies() {
    QFETCH(unsigned, flags);
    QFETCH(int, latencies);
    // 3D, five codes of which 0 and 5 have no mode.
    const unsigned count = 5U << 5;
    const Description description =
        latencies == 0   ? withData(kVendor, {3, 12, 0, 0, 0, 0, 2, flags, 0x80, count, 1, 0, 4, 5, 3, 2})
        : latencies == 2 ? withData(kVendor, {3, 12, 0, 0, 0, 0, 2, flags, 2, 2, 0x80, count, 1, 0, 4, 5, 3, 2})
                         : withData(kVendor, {3, 12, 0, 0, 0, 0, 2, flags, 2, 2, 2, 2, 0x80, count, 1, 0, 4, 5, 3, 2});
    QStringList codes;
    for (const Mode& mode : description.modes) {
      if (mode.source == edid::ModeSource::kHdmi) {
        codes << QString::number(mode.code);
      }
    }
    QCOMPARE(codes.join(' '), QString("1 4 3"));
    QVERIFY(description.hdmi->threeD);
  }

  void anHdmiBlockMayEndAnywhere() {
    const Description bare = withData(kVendor, {3, 12, 0, 0x10, 0x00});
    QCOMPARE(bare.hdmi->physicalAddress.c_str(), "1.0.0.0");
    QCOMPARE(bare.hdmi->maxTmdsClockMhz, 0U);
    QVERIFY(!withData(kVendor, {3, 12, 0, 0x10, 0, 0, 0, 0x20, 0x80}).hdmi->threeD);
    QVERIFY(withData(kVendor, {3, 12, 0, 0x10, 0, 0, 0, 0x20, 0x80, 0}).hdmi->threeD);
    QVERIFY(!withData(kVendor, {3, 12, 0, 0x10, 0, 0, 0, 0x00, 0x80, 0}).hdmi->threeD);
    QCOMPARE(withData(kVendor, {3, 12, 0, 0x10, 0, 0, 0, 0x20, 0x00, 0xE0, 1}).modes.size(), std::size_t{2});
  }

  void theHdmiForumBlockIsRead_data() {
    QTest::addColumn<unsigned>("capabilities");
    QTest::addColumn<unsigned>("links");
    QTest::addColumn<unsigned>("features");
    QTest::addColumn<QString>("told");
    QTest::newRow("nothing") << 0U << 0U << 0U << "//";
    QTest::newRow("scdc") << 0x80U << 0U << 0U << "scdc//";
    QTest::newRow("scrambling") << 0x08U << 0U << 0U << "scrambling//";
    QTest::newRow("other capabilities") << 0x77U << 0U << 0U << "//";
    QTest::newRow("30 bit") << 0U << 0x01U << 0U << "/30 bit/";
    QTest::newRow("36 bit") << 0U << 0x02U << 0U << "/36 bit/";
    QTest::newRow("48 bit, a reserved bit") << 0U << 0x0CU << 0U << "/48 bit/";
    QTest::newRow("low latency") << 0U << 0U << 0x02U << "//low latency";
    QTest::newRow("other features") << 0U << 0U << 0xFDU << "//";
  }

  void theHdmiForumBlockIsRead() {
    QFETCH(unsigned, capabilities);
    QFETCH(unsigned, links);
    QFETCH(unsigned, features);
    QFETCH(QString, told);
    const Description description =
        withData(kVendor, {0xD8, 0x5D, 0xC4, 1, 120, capabilities, links, features, 0xFF, 0x90});
    QVERIFY(description.hdmiForum && description.vendors.empty());
    const edid::HdmiForumBlock& forum = *description.hdmiForum;
    QCOMPARE(+forum.version, 1);
    QCOMPARE(forum.maxTmdsRateMhz, 600U);
    QCOMPARE((forum.scdc ? "scdc" : "") + QString(forum.scramblingBelow340 ? "scrambling" : "") + '/' +
                 joined(forum.deepColor420) + '/' + (forum.autoLowLatency ? "low latency" : ""),
             told);
    QCOMPARE(forum.minVrrHz, 63U);
    QCOMPARE(forum.maxVrrHz, 3U * 256 + 0x90);
  }

  void everyFixedRateLinkHasItsCode() {
    const QStringList links{"",
                            "3 Gbps, 3 lanes",
                            "6 Gbps, 3 lanes",
                            "6 Gbps, 4 lanes",
                            "8 Gbps, 4 lanes",
                            "10 Gbps, 4 lanes",
                            "12 Gbps, 4 lanes",
                            "reserved code 7"};
    for (int code = 0; code < links.size(); ++code) {
      const Description description =
          withData(kVendor, {0xD8, 0x5D, 0xC4, 1, 0, 0, static_cast<unsigned>(code) << 4, 0});
      QCOMPARE(QString::fromStdString(description.hdmiForum->maxFixedRateLink), links[code]);
      QCOMPARE(description.hdmiForum->maxTmdsRateMhz, 0U);
    }
  }

  void otherVendorsAreNamedWhereTheyAreKnown_data() {
    QTest::addColumn<unsigned>("first");
    QTest::addColumn<unsigned>("second");
    QTest::addColumn<unsigned>("third");
    QTest::addColumn<QString>("oui");
    QTest::addColumn<QString>("name");
    QTest::newRow("Dolby") << 0x46U << 0xD0U << 0x00U << "00-D0-46"
                           << "Dolby";
    QTest::newRow("HDR10+") << 0x8BU << 0x84U << 0x90U << "90-84-8B"
                            << "HDR10+";
    QTest::newRow("AMD") << 0x1AU << 0x00U << 0x00U << "00-00-1A"
                         << "AMD";
    QTest::newRow("unknown") << 0xEFU << 0xCDU << 0xABU << "AB-CD-EF"
                             << "";
  }

  void otherVendorsAreNamedWhereTheyAreKnown() {
    QFETCH(unsigned, first);
    QFETCH(unsigned, second);
    QFETCH(unsigned, third);
    QFETCH(QString, oui);
    QFETCH(QString, name);
    for (const bool isVideo : {false, true}) {
      const Description description =
          isVideo ? withExtended(0x01, {first, second, third, 1, 2}) : withData(kVendor, {first, second, third, 1, 2});
      QCOMPARE(description.vendors.size(), std::size_t{1});
      const edid::VendorBlock& vendor = description.vendors[0];
      QCOMPARE(QString::fromStdString(vendor.oui), oui);
      QCOMPARE(QString::fromStdString(vendor.name), name);
      QCOMPARE(vendor.video, isVideo);
      QCOMPARE(vendor.bytes, std::size_t{2});
    }
  }

  void aVendorVideoBlockIsNoHdmiBlock() {
    const Description description = describedCta(
        CtaBuilder(0).extended(0x01, {0x03, 0x0C, 0x00, 0x10, 0}).extended(0x01, {0xD8, 0x5D, 0xC4, 1, 120}));
    QVERIFY(!description.hdmi && !description.hdmiForum);
    QCOMPARE(description.vendors.size(), std::size_t{2});
  }

  void aVendorBlockWithoutANumberIsLeftOut() {
    QVERIFY(withData(kVendor, {0x46, 0xD0}).vendors.empty());
    QCOMPARE(withData(kVendor, {0x46, 0xD0, 0x00}).vendors.size(), std::size_t{1});
  }

  void everyColourSpaceHasItsBit() {
    QCOMPARE(joined(withExtended(0x05, {0xFF, 0}).colorimetry),
             QString("xvYCC601, xvYCC709, sYCC601, opYCC601, opRGB, BT.2020 cYCC, BT.2020 YCC, BT.2020 RGB"));
    QCOMPARE(joined(withExtended(0x05, {0, 0xFF}).colorimetry), QString("default RGB, sRGB, ICtCp, DCI-P3"));
    QCOMPARE(joined(withExtended(0x05, {0x10, 0x40}).colorimetry), QString("opRGB, ICtCp"));
  }

  void everyTransferFunctionHasItsBit() {
    QCOMPARE(joined(withExtended(0x06, {0xFF, 1}).hdr->transferFunctions),
             QString("SDR gamma, HDR gamma, PQ (ST 2084), HLG"));
    QCOMPARE(joined(withExtended(0x06, {0x08, 1}).hdr->transferFunctions), QString("HLG"));
  }

  void luminancesThatAreNotToldStayEmpty() {
    const Description none = withExtended(0x06, {1, 1, 0, 0, 255});
    QVERIFY(!none.hdr->maxLuminance && !none.hdr->maxFrameAverageLuminance && !none.hdr->minLuminance);
    const Description some = withExtended(0x06, {1, 1, 1, 32, 0});
    QCOMPARE(qRound(*some.hdr->maxLuminance * 1000), 51'095);  // 50 * 2^(1/32)
    QCOMPARE(*some.hdr->maxFrameAverageLuminance, 100.0);
    QVERIFY(!some.hdr->minLuminance);
    const Description least = withExtended(0x06, {1, 1, 32, 0, 255});
    QCOMPARE(*least.hdr->maxLuminance, 100.0);
    QVERIFY(!least.hdr->maxFrameAverageLuminance);
    QCOMPARE(*least.hdr->minLuminance, 1.0);
  }

  void anExtendedBlockWithoutItsTagSaysNothing() {
    const Description description = describedCta(CtaBuilder(0).data(7, {}).data(kSpeakers, {1, 0, 0}));
    QVERIFY(!description.videoCapability);
    QCOMPARE(joined(description.speakers), QString("FL/FR"));
  }

  void rangesCanBeSelected() {
    for (unsigned bits = 0; bits < 4; ++bits) {
      const Description description = withExtended(0x00, {bits << 6 | 0x3F});
      QCOMPARE(description.videoCapability->selectableRgbRange, (bits & 1U) != 0);
      QCOMPARE(description.videoCapability->selectableYccRange, (bits & 2U) != 0);
    }
    QVERIFY(!describedCta(CtaBuilder(0)).videoCapability);
  }
};

QTEST_GUILESS_MAIN(CtaDescriptionTest)
#include "cta_description_test.moc"
