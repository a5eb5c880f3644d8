#include "video/rx_timing.h"

#include <QTest>

#include <array>
#include <map>

using Texts = std::map<int, QString>;
using Decoder = QString (*)(std::uint8_t);

Q_DECLARE_METATYPE(Texts)
Q_DECLARE_METATYPE(Decoder)

class RxTimingTest : public QObject {
  Q_OBJECT

 private slots:
  void everyCodeHasItsText_data() {
    QTest::addColumn<Decoder>("decode");
    QTest::addColumn<Texts>("texts");
    QTest::addColumn<QString>("anythingElse");
    QTest::newRow("HDMI mode") << &video::hdmiModeText
                               << Texts{{0, "DVI"}, {1, "HDMI 1.4/2.0"}, {2, "HDMI 2.1"}, {3, "DRPX mode"}} << "Unknow";
    QTest::newRow("colour space") << &video::colorSpaceText
                                  << Texts{{0, "RGB"}, {1, "YUV422"}, {2, "YUV444"}, {3, "YUV420"}} << "YUV400";
    QTest::newRow("colour depth") << &video::colorDepthText
                                  << Texts{{0, "8bit"}, {1, "10bit"}, {2, "12bit"}, {3, "16bit"}} << "6bit";
    QTest::newRow("colour range") << &video::colorRangeText << Texts{{0, "default"}, {1, "limit"}, {2, "full"}}
                                  << "Unknow";
    QTest::newRow("HDCP") << &video::rxHdcpText << Texts{{0, "None"}, {1, "HDCP1.3/1.4"}, {2, "HDCP2.2/2.3"}}
                          << "HDCP Off";
    QTest::newRow("HDR") << &video::hdrText
                         << Texts{{0x00, "SDR"},
                                  {0x01, "HDR10"},
                                  {0x11, "HLG"},
                                  {0x20, "HDR10+"},
                                  {0x30, "Dolby Vision STD"},
                                  {0x31, "Dolby Vision Low Latency"},
                                  {0x32, "Dolby Vision VSEM"}}
                         << "Unknow";
  }

  void everyCodeHasItsText() {
    QFETCH(Decoder, decode);
    QFETCH(Texts, texts);
    QFETCH(QString, anythingElse);
    for (int code = 0; code < 256; ++code) {
      const auto row = texts.find(code);
      QCOMPARE(decode(static_cast<std::uint8_t>(code)), row == texts.end() ? anythingElse : row->second);
    }
  }

  void onlyBitZeroOfTheFlagsDecidesTheScan() {
    for (int flags = 0; flags < 256; ++flags) {
      QCOMPARE(video::scanText(static_cast<std::uint8_t>(flags)), flags % 2 == 1 ? "interlace" : "progressive");
    }
  }

  void everyFieldIsReadFromItsPlace() {
    std::array<std::uint8_t, 48> record{};
    for (std::size_t i = 0; i < record.size(); ++i) {
      record[i] = static_cast<std::uint8_t>(0xA0 + i);
    }
    const auto info = video::readRawTimingInfo(record);
    QVERIFY(info.has_value());
    QCOMPARE(int{info->flags}, 0xA0);
    QCOMPARE(int{info->vTotal}, 0xA3A2);
    QCOMPARE(int{info->hTotal}, 0xA5A4);
    QCOMPARE(int{info->vActive}, 0xA7A6);
    QCOMPARE(int{info->hActive}, 0xA9A8);
    QCOMPARE(int{info->vStart}, 0xABAA);
    QCOMPARE(int{info->hStart}, 0xADAC);
    QCOMPARE(int{info->vFreq}, 0xAFAE);
    QCOMPARE(int{info->hFreq}, 0xB1B0);
    QCOMPARE(int{info->hdrType}, 0xB2);
    QCOMPARE(int{info->vSyncPulse}, 0xB4B3);
    QCOMPARE(int{info->hSyncPulse}, 0xB6B5);
    QCOMPARE(int{info->hdmiMode}, 0xB7);
    QCOMPARE(int{info->colorDepth}, 0xB8);
    QCOMPARE(int{info->colorSpace}, 0xB9);
    QCOMPARE(int{info->colorRange}, 0xBA);
    QCOMPARE(int{info->colorimetry}, 0xBB);
    QCOMPARE(int{info->extColorimetry}, 0xBC);
    QCOMPARE(int{info->hdcpVersion}, 0xBD);
    QCOMPARE(int{info->tmdsClock}, 0xBFBE);
    QCOMPARE(info->pllPixelClockX1024, 0xC3C2C1C0U);
  }

  void aRecordCutShortIsNotRead() {
    const std::array<std::uint8_t, 48> record{};
    for (std::size_t size = 0; size <= record.size(); ++size) {
      QCOMPARE(video::readRawTimingInfo(std::span(record).first(size)).has_value(), size >= 36);
    }
  }
};

QTEST_APPLESS_MAIN(RxTimingTest)
#include "rx_timing_test.moc"
