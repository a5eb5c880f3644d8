#include "edid/detailed_timing.h"

#include "edid/edid_blocks.h"

#include <QMap>
#include <QTest>

#include <array>

using edid::DetailedTiming;

namespace {

/// A number of a timing, and the byte and the bits that hold it, lowest bit first.
struct Field {
  const char* name;
  std::uint32_t DetailedTiming::*number;
  std::vector<std::array<std::size_t, 2>> bits;  // byte, bit
};

std::vector<std::array<std::size_t, 2>> bitsOf(std::initializer_list<std::array<std::size_t, 3>> runs) {
  std::vector<std::array<std::size_t, 2>> bits;
  for (const auto& [byte, first, count] : runs) {
    for (std::size_t bit = first; bit < first + count; ++bit) {
      bits.push_back({byte, bit});
    }
  }
  return bits;
}

/// VESA E-EDID release A2, table 3.21, without the pixel clock, which counts in 10 kHz.
std::vector<Field> descriptorFields() {
  return {
      {"width", &DetailedTiming::width, bitsOf({{2, 0, 8}, {4, 4, 4}})},
      {"horizontal blanking", &DetailedTiming::horizontalBlanking, bitsOf({{3, 0, 8}, {4, 0, 4}})},
      {"lines", &DetailedTiming::lines, bitsOf({{5, 0, 8}, {7, 4, 4}})},
      {"vertical blanking", &DetailedTiming::verticalBlanking, bitsOf({{6, 0, 8}, {7, 0, 4}})},
      {"horizontal front porch", &DetailedTiming::horizontalFrontPorch, bitsOf({{8, 0, 8}, {11, 6, 2}})},
      {"horizontal sync", &DetailedTiming::horizontalSync, bitsOf({{9, 0, 8}, {11, 4, 2}})},
      {"vertical front porch", &DetailedTiming::verticalFrontPorch, bitsOf({{10, 4, 4}, {11, 2, 2}})},
      {"vertical sync", &DetailedTiming::verticalSync, bitsOf({{10, 0, 4}, {11, 0, 2}})},
      {"width in millimetres", &DetailedTiming::widthMm, bitsOf({{12, 0, 8}, {14, 4, 4}})},
      {"height in millimetres", &DetailedTiming::heightMm, bitsOf({{13, 0, 8}, {14, 0, 4}})},
  };
}

/// DisplayID 1.3, table 4.25; each number is stored less one.
std::vector<Field> displayIdFields() {
  return {
      {"pixel clock", &DetailedTiming::pixelClockKhz, bitsOf({{0, 0, 8}, {1, 0, 8}, {2, 0, 8}})},
      {"width", &DetailedTiming::width, bitsOf({{4, 0, 8}, {5, 0, 8}})},
      {"horizontal blanking", &DetailedTiming::horizontalBlanking, bitsOf({{6, 0, 8}, {7, 0, 8}})},
      {"horizontal front porch", &DetailedTiming::horizontalFrontPorch, bitsOf({{8, 0, 8}, {9, 0, 7}})},
      {"horizontal sync", &DetailedTiming::horizontalSync, bitsOf({{10, 0, 8}, {11, 0, 8}})},
      {"lines", &DetailedTiming::lines, bitsOf({{12, 0, 8}, {13, 0, 8}})},
      {"vertical blanking", &DetailedTiming::verticalBlanking, bitsOf({{14, 0, 8}, {15, 0, 8}})},
      {"vertical front porch", &DetailedTiming::verticalFrontPorch, bitsOf({{16, 0, 8}, {17, 0, 7}})},
      {"vertical sync", &DetailedTiming::verticalSync, bitsOf({{18, 0, 8}, {19, 0, 8}})},
  };
}

/// 1920x1080 at 60 Hz.
DetailedTiming fullHd() {
  DetailedTiming timing;
  timing.pixelClockKhz = 148'500;
  timing.width = 1920;
  timing.horizontalBlanking = 280;
  timing.horizontalFrontPorch = 88;
  timing.horizontalSync = 44;
  timing.lines = 1080;
  timing.verticalBlanking = 45;
  timing.verticalFrontPorch = 4;
  timing.verticalSync = 5;
  return timing;
}

}  // namespace

/// Detailed timings, bit by bit.
class DetailedTimingTest : public QObject {
  Q_OBJECT

 private slots:
  void everyBitOfADescriptorCountsInItsNumber() {
    for (std::size_t bit = 0; bit < edid::kDescriptorSize * 8; ++bit) {
      std::array<std::uint8_t, edid::kDescriptorSize> bytes{1};  // a clock, so that it is a timing
      bytes[bit / 8] = static_cast<std::uint8_t>(bytes[bit / 8] | 1U << bit % 8);
      const auto timing = edid::readDetailedTiming(bytes);
      QVERIFY(timing);
      QCOMPARE(timing->pixelClockKhz, bit < 16 ? 10 * (1U | 1U << bit) : 10U);
      QCOMPARE(timing->interlaced, bit / 8 == 17 && bit % 8 == 7);
      for (const Field& field : descriptorFields()) {
        std::uint32_t expected = 0;
        for (std::size_t i = 0; i < field.bits.size(); ++i) {
          expected |= field.bits[i][0] == bit / 8 && field.bits[i][1] == bit % 8 ? 1U << i : 0U;
        }
        QVERIFY2((*timing).*field.number == expected, field.name);
      }
    }
  }

  void everyBitOfADisplayIdTimingCountsInItsNumber() {
    for (std::size_t bit = 0; bit / 8 < 20; ++bit) {
      std::array<std::uint8_t, 20> bytes{};
      bytes[bit / 8] = static_cast<std::uint8_t>(1U << bit % 8);
      const auto timing = edid::readDisplayIdTiming(bytes, 1);
      QVERIFY(timing);
      QCOMPARE(timing->interlaced, bit / 8 == 3 && bit % 8 == 4);
      for (const Field& field : displayIdFields()) {
        std::uint32_t expected = 1;
        for (std::size_t i = 0; i < field.bits.size(); ++i) {
          expected += field.bits[i][0] == bit / 8 && field.bits[i][1] == bit % 8 ? 1U << i : 0U;
        }
        QVERIFY2((*timing).*field.number == expected, field.name);
      }
      QCOMPARE(edid::readDisplayIdTiming(bytes, 10)->pixelClockKhz, timing->pixelClockKhz * 10);
      QCOMPARE(timing->widthMm, 0U);
    }
  }

  void tooFewBytesOrNoClockAreNoTiming() {
    const std::array<std::uint8_t, 20> bytes{1};
    QVERIFY(edid::readDetailedTiming(std::span(bytes).first(18)));
    QVERIFY(!edid::readDetailedTiming(std::span(bytes).first(17)));
    QVERIFY(edid::readDisplayIdTiming(bytes, 1));
    QVERIFY(!edid::readDisplayIdTiming(std::span(bytes).first(19), 1));
    QVERIFY(!edid::readDetailedTiming(std::array<std::uint8_t, 18>{0, 0, 1}));
  }

  void theRefreshRateIsRounded_data() {
    QTest::addColumn<unsigned>("clockKhz");
    QTest::addColumn<bool>("interlaced");
    QTest::addColumn<unsigned>("milliHz");
    QTest::newRow("60 Hz") << 148'500U << false << 60'000U;
    QTest::newRow("59.94 Hz") << 148'352U << false << 59'940U;  // 59.9402
    QTest::newRow("up") << 148'351U << false << 59'940U;        // 59.9398
    QTest::newRow("half up") << 1'237'500'000U << false << 500'000'000U;
    // 2200 x 1125.5 pixels: 59.9734 Hz
    QTest::newRow("interlaced") << 148'500U << true << 59'973U;
  }

  void theRefreshRateIsRounded() {
    QFETCH(unsigned, clockKhz);
    QFETCH(bool, interlaced);
    QFETCH(unsigned, milliHz);
    DetailedTiming timing = fullHd();
    timing.pixelClockKhz = clockKhz;
    timing.interlaced = interlaced;
    QCOMPARE(timing.refreshMilliHz(), milliHz);
    QCOMPARE(timing.height(), interlaced ? 2160U : 1080U);
  }

  void aNewTimingIsAllZeros() {
    const DetailedTiming timing;
    for (const Field& field : displayIdFields()) {
      QVERIFY2(timing.*field.number == 0, field.name);
    }
    QVERIFY(timing.widthMm == 0 && timing.heightMm == 0 && !timing.interlaced);
  }

  void aTimingWithoutPixelsHasNoRate() {
    DetailedTiming timing;
    timing.pixelClockKhz = 10'000;
    QCOMPARE(timing.refreshMilliHz(), 0U);
  }

  void everyFaultIsNamedFromItsEdgeOn_data() {
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<unsigned>("lastGood");
    QTest::addColumn<unsigned>("firstBad");
    QTest::addColumn<QByteArray>("fault");
    const auto row = [](const char* field, unsigned lastGood, unsigned firstBad, const char* fault) {
      QTest::addRow("%s, %u", field, firstBad) << QByteArray(field) << lastGood << firstBad << QByteArray(fault);
    };
    row("pixel clock", 10'000, 9'999, "pixel clock below 10 MHz");
    row("width", 1, 0, "no visible pixels");
    row("lines", 1, 0, "no visible pixels");
    row("horizontal blanking", 133, 0, "no blanking");
    row("vertical blanking", 10, 0, "no blanking");
    row("horizontal sync", 1, 0, "no sync pulse");
    row("vertical sync", 1, 0, "no sync pulse");
    row("horizontal front porch", 1, 0, "no front porch");
    row("vertical front porch", 1, 0, "no front porch");
    row("horizontal blanking", 133, 132, "horizontal front porch and sync fill the blanking");
    row("horizontal sync", 191, 192, "horizontal front porch and sync fill the blanking");
    row("vertical blanking", 10, 9, "vertical front porch and sync fill the blanking");
    row("vertical sync", 40, 41, "vertical front porch and sync fill the blanking");
  }

  void everyFaultIsNamedFromItsEdgeOn() {
    QFETCH(QByteArray, field);
    QFETCH(unsigned, lastGood);
    QFETCH(unsigned, firstBad);
    QFETCH(QByteArray, fault);
    DetailedTiming timing = fullHd();
    bool isFound = false;
    for (const Field& known : displayIdFields()) {
      if (known.name == field) {
        isFound = true;
        timing.*known.number = lastGood;
        QVERIFY(timing.fault() == nullptr);
        timing.*known.number = firstBad;
      }
    }
    QVERIFY(isFound);
    QCOMPARE(QByteArray(timing.fault()), fault);
  }

  // VESA E-EDID release A2, table 2.2, and the extensions' own standards.
  void everyExtensionTagHasItsName() {
    const QMap<int, QByteArray> names{{0x02, "CTA-861"},
                                      {0x10, "Video Timing"},
                                      {0x20, "EDID 2.0"},
                                      {0x40, "Display Information"},
                                      {0x50, "Localized String"},
                                      {0x60, "Digital Packet Video Link"},
                                      {0x70, "DisplayID"},
                                      {0xA7, "Display Transfer Characteristics"},
                                      {0xAF, "Display Transfer Characteristics"},
                                      {0xBF, "Display Transfer Characteristics"},
                                      {0xF0, "Block Map"},
                                      {0xFF, "Maker's own"}};
    for (int tag = 0; tag < 256; ++tag) {
      const std::string_view name = edid::extensionName(static_cast<std::uint8_t>(tag));
      QCOMPARE(QByteArray(name.data(), static_cast<int>(name.size())), names.value(tag));
    }
  }
};

QTEST_GUILESS_MAIN(DetailedTimingTest)
#include "detailed_timing_test.moc"
