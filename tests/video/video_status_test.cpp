#include "video/video_status.h"

#include <QTest>

#include <array>
#include <map>

class VideoStatusTest : public QObject {
  Q_OBJECT

 private slots:
  void everyFormatCodeHasItsText() {
    const std::map<int, QString> texts{{0, "N/A"},   {1, "NV12"},  {2, "M420"}, {3, "I420"}, {4, "YUYV"},
                                       {5, "RGB24"}, {6, "RGB32"}, {7, "P101"}, {8, "MJPEG"}};
    for (int code = 0; code < 256; ++code) {
      const auto row = texts.find(code);
      QCOMPARE(video::uvcFormatText(static_cast<std::uint8_t>(code)), row == texts.end() ? "N/A" : row->second);
    }
  }

  void everyHdcpCodeHasItsText() {
    const std::map<int, QString> texts{{0, "No HDCP"}, {1, "HDCP1.3/1.4"}, {2, "HDCP2.2/2.3"}};
    for (int code = 0; code < 256; ++code) {
      const auto row = texts.find(code);
      QCOMPARE(video::hdcpVersionText(static_cast<std::uint8_t>(code)), row == texts.end() ? "HDCP OFF" : row->second);
    }
  }

  void onlyAVersionOfTheTransmitterCountsAsOn() {
    for (int code = 0; code < 256; ++code) {
      QCOMPARE(video::isTxHdcpOn(static_cast<std::uint8_t>(code)), code == 1 || code == 2);
    }
  }

  void everyFieldIsReadFromItsPlace() {
    const std::array<std::uint8_t, 12> record{0x01, 0x02, 0x03, 0x84, 0x11, 0x12, 0x13, 0x94, 0x21, 0x22, 0x23, 0xA4};
    const auto timing = video::readUvcOutputTiming(record);
    QVERIFY(timing.has_value());
    QCOMPARE(timing->width, 0x84030201U);
    QCOMPARE(timing->height, 0x94131211U);
    QCOMPARE(timing->frameRateX100, 0xA4232221U);
  }

  void aRecordCutShortIsNotRead() {
    const std::array<std::uint8_t, 16> record{};
    for (std::size_t size = 0; size <= record.size(); ++size) {
      QCOMPARE(video::readUvcOutputTiming(std::span(record).first(size)).has_value(), size >= 12);
    }
  }

  void theTimingIsWrittenWithWholeFrames_data() {
    QTest::addColumn<quint32>("width");
    QTest::addColumn<quint32>("height");
    QTest::addColumn<quint32>("frameRateX100");
    QTest::addColumn<QString>("text");
    QTest::newRow("60") << 1920U << 1080U << 6000U << "1920x1080@60";
    QTest::newRow("59.94") << 3840U << 2160U << 5994U << "3840x2160@59";
    QTest::newRow("59.99") << 3840U << 2160U << 5999U << "3840x2160@59";
    QTest::newRow("below one frame") << 1280U << 720U << 99U << "1280x720@0";
    QTest::newRow("one frame") << 1280U << 720U << 100U << "1280x720@1";
    QTest::newRow("nothing") << 0U << 0U << 0U << "0x0@0";
    QTest::newRow("unsigned extremes") << 0xFFFFFFFFU << 0x80000000U << 0xFFFFFFFFU << "4294967295x2147483648@42949672";
  }

  void theTimingIsWrittenWithWholeFrames() {
    QFETCH(quint32, width);
    QFETCH(quint32, height);
    QFETCH(quint32, frameRateX100);
    QFETCH(QString, text);
    QCOMPARE(video::uvcTimingText({width, height, frameRateX100}), text);
  }
};

QTEST_APPLESS_MAIN(VideoStatusTest)
#include "video_status_test.moc"
