#include "edid/edid_description.h"
#include "tests/edid/described_modes.h"
#include "tests/edid/sample_timings.h"

#include <QMap>
#include <QTest>

using edid::Description;
using edid::Mode;
using edid::ModeSource;
using edid_test::EdidBuilder;
using edid_test::Table;

namespace {

EdidBuilder builderOf(unsigned revision = 4, unsigned input = 0xA5, unsigned features = 0x06) {
  return {"ORV", 1, revision, input, features};
}

Description described(const Table& table) { return *edid::describe(table); }

/// A display whose base block has these bytes from `at` on.
Description withBytes(unsigned revision, std::size_t at, std::initializer_list<unsigned> bytes) {
  Table table = builderOf(revision).timing(edid_test::k1080p60).table();
  for (const unsigned byte : bytes) {
    table.at(at++) = static_cast<std::uint8_t>(byte);
  }
  return described(table);
}

/// The standard timing with these two bytes; empty when they name none.
QString standard(unsigned revision, unsigned first, unsigned second) {
  return modesOf(described(builderOf(revision).standard({first, second}).timing(edid_test::k1080p60).table()),
                 ModeSource::kStandard)
      .join(' ');
}

}  // namespace

/// Each field of the base block of VESA E-EDID, bit by bit.
class BaseDescriptionTest : public QObject {
  Q_OBJECT

 private slots:
  void theFirstBlockIsTheBaseBlockWhateverItsFirstByte() {
    const Description description = withBytes(4, 0, {0x02});
    QCOMPARE(+description.blocks[0].tag, 0);
    QCOMPARE(description.blocks[0].name.c_str(), "EDID base");
    QVERIFY(!description.hasCta && !description.modes.empty());
  }

  void everyLetterOfTheMakerIsRead_data() {
    QTest::addColumn<unsigned>("code");
    QTest::addColumn<QString>("maker");
    QTest::newRow("first letters") << 0x0421U << "AAA";
    QTest::newRow("last letters") << 0x6B5AU << "ZZZ";
    QTest::newRow("each its own") << 0x0443U << "ABC";
    QTest::newRow("the reserved bit does not count") << 0x8443U << "ABC";
    QTest::newRow("no letters") << 0x0000U << "???";
    QTest::newRow("one beyond Z") << 0x6F7BU << "???";
  }

  void everyLetterOfTheMakerIsRead() {
    QFETCH(unsigned, code);
    QFETCH(QString, maker);
    QCOMPARE(QString::fromStdString(withBytes(4, 8, {code >> 8, code & 0xFFU}).maker), maker);
  }

  void numbersHaveTheLowestByteFirst() {
    const Description description = withBytes(4, 10, {0x34, 0x12, 0x78, 0x56, 0x34, 0x12});
    QCOMPARE(unsigned{description.product}, 0x1234U);
    QCOMPARE(description.serialNumber, 0x12345678U);
  }

  void theWeekIsOneOf54_data() {
    QTest::addColumn<unsigned>("byte");
    QTest::addColumn<unsigned>("week");
    QTest::addColumn<bool>("isModelYear");
    QTest::newRow("not told") << 0U << 0U << false;
    QTest::newRow("first") << 1U << 1U << false;
    QTest::newRow("last") << 54U << 54U << false;
    QTest::newRow("none") << 55U << 0U << false;
    QTest::newRow("none, the highest") << 254U << 0U << false;
    QTest::newRow("model year") << 255U << 0U << true;
  }

  void theWeekIsOneOf54() {
    QFETCH(unsigned, byte);
    QFETCH(unsigned, week);
    QFETCH(bool, isModelYear);
    const Description description = withBytes(4, 16, {byte, 33});
    QCOMPARE(description.week, week);
    QCOMPARE(description.isModelYear, isModelYear);
    QCOMPARE(description.year, 2023U);
  }

  void everyInterfaceAndDepthHasItsCode() {
    const QStringList interfaces{"", "DVI", "HDMI-a", "HDMI-b", "MDDI", "DisplayPort"};
    const QVector<unsigned> depths{0, 6, 8, 10, 12, 14, 16, 0};
    for (unsigned input = 0; input < 256; ++input) {
      const Description now = withBytes(4, 20, {input});
      const bool isDigital = input >= 128;
      QCOMPARE(now.digital, isDigital);
      QCOMPARE(QString::fromStdString(now.videoInterface),
               isDigital ? interfaces.value(static_cast<int>(input % 16)) : QString());
      QCOMPARE(now.bitsPerColor, isDigital ? depths[static_cast<int>(input / 16 % 8)] : 0U);
      const Description before = withBytes(3, 20, {input});
      QCOMPARE(before.digital, isDigital);
      QVERIFY(before.videoInterface.empty() && before.bitsPerColor == 0);
    }
  }

  void oneOfTheTwoSizesAloneIsARatio() {
    QCOMPARE(withBytes(4, 21, {60, 34}).widthMm, 600U);
    QCOMPARE(withBytes(4, 21, {60, 34}).heightMm, 340U);
    QCOMPARE(withBytes(4, 21, {60, 0}).widthMm, 0U);
    QCOMPARE(withBytes(4, 21, {0, 34}).heightMm, 0U);
    QCOMPARE(withBytes(4, 21, {1, 1}).widthMm, 10U);
    QCOMPARE(withBytes(4, 21, {255, 255}).heightMm, 2550U);
  }

  void theGammaMayBeElsewhere() {
    QCOMPARE(*withBytes(4, 23, {0}).gamma, 1.0);
    QCOMPARE(*withBytes(4, 23, {254}).gamma, 3.54);
    QVERIFY(!withBytes(4, 23, {255}).gamma);
  }

  void theFeaturesHaveTheirBits() {
    for (unsigned features = 0; features < 8; ++features) {
      const Description description = withBytes(4, 24, {features});
      QCOMPARE(description.srgb, (features & 4U) != 0);
      QCOMPARE(description.continuousFrequency, (features & 1U) != 0);
      const Mode& first = description.modes.front();
      QVERIFY(first.preferred);
      QCOMPARE(first.native, (features & 2U) != 0);
      QVERIFY(withBytes(3, 24, {features}).modes.front().preferred);
      QVERIFY(!withBytes(3, 24, {features}).modes.front().native);
      QCOMPARE(withBytes(2, 24, {features}).modes.front().preferred, (features & 2U) != 0);
    }
  }

  void onlyTheFirstTimingIsPreferred() {
    const Description description =
        described(builderOf().timing(edid_test::k1080p60).timing(edid_test::k720p60).table());
    QCOMPARE(description.modes.size(), std::size_t{2});
    QVERIFY(description.modes[0].preferred && description.modes[0].native);
    QVERIFY(!description.modes[1].preferred && !description.modes[1].native);
  }

  void theFirstTimingMakesTheSizeExact_data() {
    QTest::addColumn<unsigned>("width");
    QTest::addColumn<unsigned>("height");
    QTest::addColumn<bool>("isExact");
    QTest::newRow("the same") << 600U << 340U << true;
    QTest::newRow("less by 9") << 591U << 331U << true;
    QTest::newRow("more by 9") << 609U << 349U << true;
    QTest::newRow("width less by 10") << 590U << 340U << false;
    QTest::newRow("width more by 10") << 610U << 340U << false;
    QTest::newRow("height less by 10") << 600U << 330U << false;
    QTest::newRow("height more by 10") << 600U << 350U << false;
  }

  void theFirstTimingMakesTheSizeExact() {
    QFETCH(unsigned, width);
    QFETCH(unsigned, height);
    QFETCH(bool, isExact);
    Table table =
        builderOf().size(width, height).timing(edid_test::k1080p60).size(603, 343).timing(edid_test::k720p60).table();
    table[21] = 60;
    table[22] = 34;
    const Description description = described(table);
    QCOMPARE(description.widthMm, isExact ? width : 600U);
    QCOMPARE(description.heightMm, isExact ? height : 340U);
  }

  void aTextEndsWithItsLineOrItsSpaces_data() {
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<QByteArray>("read");
    QTest::newRow("whole field") << QByteArray("1234567890123") << QByteArray("1234567890123");
    QTest::newRow("one less") << QByteArray("123456789012") << QByteArray("123456789012");
    QTest::newRow("behind a line") << QByteArray("AB\nCD") << QByteArray("AB");
    QTest::newRow("spaces at the end") << QByteArray(" A B  ") << QByteArray(" A B");
    QTest::newRow("spaces only") << QByteArray("   ") << QByteArray("");
    QTest::newRow("edges of what can be shown") << QByteArray("\x1F ~\x7F") << QByteArray("? ~?");
  }

  void aTextEndsWithItsLineOrItsSpaces() {
    QFETCH(QByteArray, written);
    QFETCH(QByteArray, read);
    const std::string text = written.toStdString();
    const Description description =
        described(builderOf().timing(edid_test::k1080p60).name(text).serialText(text).text(text).table());
    QCOMPARE(QByteArray::fromStdString(description.name), read);
    QCOMPARE(QByteArray::fromStdString(description.serialText), read);
    QCOMPARE(description.texts.size(), std::size_t{1});
    QCOMPARE(QByteArray::fromStdString(description.texts[0]), read);
  }

  void aDescriptorSaysOneThingOnly() {
    // Bits that every kind of descriptor would take for its own.
    const std::initializer_list<unsigned> bytes{0x0A, 0x21, 0x41, 0x42, 0x43, 0x08, 0x44,
                                                0x45, 0x08, 0x46, 0x0A, 0x20, 0x20, 0x20};
    const auto told = [&](unsigned tag) {
      const Description description = described(builderOf().timing(edid_test::k1080p60).descriptor(tag, bytes).table());
      QStringList words;
      words << (description.name.empty() ? "" : "name") << (description.serialText.empty() ? "" : "serial")
            << (description.texts.empty() ? "" : "text") << (description.range ? "range" : "")
            << (modesOf(description, ModeSource::kStandard).isEmpty() ? "" : "standard")
            << (modesOf(description, ModeSource::kCvt).isEmpty() ? "" : "CVT")
            << (modesOf(description, ModeSource::kEstablished).isEmpty() ? "" : "established");
      words.removeAll("");
      return words.join(' ');
    };
    const QMap<unsigned, QString> kinds{{0xF7, "established"}, {0xF8, "CVT"},  {0xFA, "standard"}, {0xFC, "name"},
                                        {0xFD, "range"},       {0xFE, "text"}, {0xFF, "serial"}};
    for (unsigned tag = 0; tag < 256; ++tag) {
      QVERIFY2(told(tag) == kinds.value(tag), qPrintable(QStringLiteral("%1: %2").arg(tag).arg(told(tag))));
    }
  }

  void rangesAreRaisedByTheirBits_data() {
    QTest::addColumn<unsigned>("bits");
    QTest::addColumn<QString>("raised");
    QTest::newRow("none") << 0x0U << "48 75 30 90";
    QTest::newRow("lowest vertical alone is reserved") << 0x1U << "48 75 30 90";
    QTest::newRow("highest vertical") << 0x2U << "48 330 30 90";
    QTest::newRow("both vertical") << 0x3U << "303 330 30 90";
    QTest::newRow("lowest horizontal alone is reserved") << 0x4U << "48 75 30 90";
    QTest::newRow("highest horizontal") << 0x8U << "48 75 30 345";
    QTest::newRow("both horizontal") << 0xCU << "48 75 285 345";
    QTest::newRow("all") << 0xFU << "303 330 285 345";
  }

  void rangesAreRaisedByTheirBits() {
    QFETCH(unsigned, bits);
    QFETCH(QString, raised);
    for (const unsigned revision : {3U, 4U}) {
      const Description description = described(
          builderOf(revision).timing(edid_test::k1080p60).descriptor(0xFD, {bits, 48, 75, 30, 90, 17, 1}).table());
      QVERIFY(description.range);
      const edid::RangeLimits& range = *description.range;
      QCOMPARE(QStringLiteral("%1 %2 %3 %4")
                   .arg(range.minVerticalHz)
                   .arg(range.maxVerticalHz)
                   .arg(range.minHorizontalKhz)
                   .arg(range.maxHorizontalKhz),
               revision == 4 ? raised : QStringLiteral("48 75 30 90"));
      QCOMPARE(range.maxPixelClockMhz, 170U);
    }
  }

  void everyRatioOfAStandardTimingHasItsCode_data() {
    QTest::addColumn<unsigned>("revision");
    QTest::addColumn<unsigned>("first");
    QTest::addColumn<unsigned>("second");
    QTest::addColumn<QString>("mode");
    QTest::newRow("16:10") << 3U << 0x81U << 0x00U << "1280x800 60.00 Hz";
    QTest::newRow("16:10 in 1.4") << 4U << 0x81U << 0x00U << "1280x800 60.00 Hz";
    QTest::newRow("1:1 before 1.3") << 2U << 0x81U << 0x00U << "1280x1280 60.00 Hz";
    QTest::newRow("4:3") << 3U << 0x81U << 0x40U << "1280x960 60.00 Hz";
    QTest::newRow("4:3 before 1.3") << 2U << 0x81U << 0x40U << "1280x960 60.00 Hz";
    QTest::newRow("5:4") << 3U << 0x81U << 0x80U << "1280x1024 60.00 Hz";
    QTest::newRow("16:9") << 3U << 0x81U << 0xC0U << "1280x720 60.00 Hz";
    QTest::newRow("highest rate") << 3U << 0x81U << 0xFFU << "1280x720 123.00 Hz";
    QTest::newRow("narrowest") << 3U << 0x01U << 0x40U << "256x192 60.00 Hz";
    QTest::newRow("widest") << 3U << 0xFFU << 0x40U << "2288x1716 60.00 Hz";
    QTest::newRow("unused") << 3U << 0x01U << 0x01U << "";
    QTest::newRow("reserved") << 3U << 0x00U << 0x40U << "";
    QTest::newRow("not unused, by its width") << 3U << 0x02U << 0x01U << "264x165 61.00 Hz";
  }

  void everyRatioOfAStandardTimingHasItsCode() {
    QFETCH(unsigned, revision);
    QFETCH(unsigned, first);
    QFETCH(unsigned, second);
    QFETCH(QString, mode);
    QCOMPARE(standard(revision, first, second), mode);
  }

  void allStandardTimingsAreRead() {
    const Description description =
        described(builderOf()
                      .standard({0x81, 0, 0x81, 1, 0x81, 2, 0x81, 3, 0x81, 4, 0x81, 5, 0x81, 6, 0x81, 7})
                      .timing(edid_test::k1080p60)
                      .descriptor(0xFA, {0, 0x95, 0, 0x95, 1, 0x95, 2, 0x95, 3, 0x95, 4, 0x95, 5, '\n'})
                      .table());
    QStringList expected;
    for (int rate = 60; rate < 66; ++rate) {
      expected << QStringLiteral("1440x900 %1.00 Hz").arg(rate);
    }
    for (int rate = 60; rate < 68; ++rate) {
      expected << QStringLiteral("1280x800 %1.00 Hz").arg(rate);
    }
    QCOMPARE(modesOf(description, ModeSource::kStandard), expected);
  }

  // VESA E-EDID, table 3.28: bits 11 to 8 of the lines, then the ratio, then the rates.
  void everyRatioAndRateOfACvtCodeIsRead_data() {
    QTest::addColumn<unsigned>("ratio");
    QTest::addColumn<QString>("size");
    QTest::newRow("4:3") << 0U << "1600x1200";
    QTest::newRow("16:9") << 1U << "2128x1200";
    QTest::newRow("16:10") << 2U << "1920x1200";
    QTest::newRow("15:9") << 3U << "2000x1200";
  }

  void everyRatioAndRateOfACvtCodeIsRead() {
    QFETCH(unsigned, ratio);
    QFETCH(QString, size);
    const unsigned lines = 1200 / 2 - 1;
    const auto cvt = [&](unsigned rates) {
      return modesOf(described(builderOf()
                                   .timing(edid_test::k1080p60)
                                   .descriptor(0xF8, {0, 1, lines & 0xFFU, lines >> 8 << 4 | ratio << 2, rates})
                                   .table()),
                     ModeSource::kCvt)
          .join(", ");
    };
    QCOMPARE(cvt(0x1F), QStringLiteral("%1 50.00 Hz, %1 60.00 Hz, %1 75.00 Hz, %1 85.00 Hz, %1 60.00 Hz").arg(size));
    const QStringList rates{"60.00", "85.00", "75.00", "60.00", "50.00"};
    for (int bit = 0; bit < rates.size(); ++bit) {
      QCOMPARE(cvt(1U << bit), QStringLiteral("%1 %2 Hz").arg(size, rates[bit]));
    }
    QCOMPARE(cvt(0x60), QString());
  }

  void allFourCvtCodesAreRead() {
    const Description description =
        described(builderOf()
                      .timing(edid_test::k1080p60)
                      .descriptor(0xF8, {0, 1, 0xFF, 0x00, 8, 0x00, 0x10, 8, 0, 0, 0, 0x00, 0x24, 8})
                      .table());
    QCOMPARE(modesOf(description, ModeSource::kCvt),
             (QStringList{"680x512 60.00 Hz", "680x514 60.00 Hz", "1824x1026 60.00 Hz"}));
  }

  void everyEstablishedTimingHasItsBit() {
    const auto all = modesOf(described(builderOf().established(0xFF, 0xFF, 0xFF).timing(edid_test::k1080p60).table()),
                             ModeSource::kEstablished);
    QCOMPARE(all.size(), 17);
    for (unsigned bit = 0; bit < 24; ++bit) {
      const unsigned bits = 0x800000U >> bit;
      const auto one = modesOf(
          described(
              builderOf().established(bits >> 16, bits >> 8 & 0xFFU, bits & 0xFFU).timing(edid_test::k1080p60).table()),
          ModeSource::kEstablished);
      QCOMPARE(one, bit < 17 ? QStringList{all[static_cast<int>(bit)]} : QStringList());
    }
  }

  void everyEstablishedTimingIIIHasItsBit() {
    const auto more = [](unsigned byte, unsigned bits) {
      Table table = builderOf().timing(edid_test::k1080p60).descriptor(0xF7, {0, 10}).table();
      table[72 + 6 + byte] = static_cast<std::uint8_t>(bits);
      return modesOf(described(table), ModeSource::kEstablished);
    };
    int count = 0;
    for (unsigned byte = 0; byte < 6; ++byte) {
      const QStringList all = more(byte, 0xFF);
      QStringList one;
      for (unsigned bit = 8; bit-- > 0;) {
        one << more(byte, 1U << bit);
      }
      QCOMPARE(one, all);
      count += all.size();
    }
    QCOMPARE(count, 44);  // the last four bits are reserved
  }
};

QTEST_GUILESS_MAIN(BaseDescriptionTest)
#include "base_description_test.moc"
