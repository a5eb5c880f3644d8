#include "edid/edid_check.h"

#include "tests/edid/sample_displays.h"
#include "tests/edid/sample_timings.h"

#include <QSet>
#include <QTest>

#include <algorithm>

using edid::Check;
using edid_test::SampleDisplay;
using edid_test::Table;

namespace {

bool refusedFor(const Table& table, Check check, std::size_t offset) {
  const auto findings = edid::checkTable(table);
  return std::any_of(findings.begin(), findings.end(), [&](const edid::Finding& finding) {
    return finding.check == check && finding.offset == offset && finding.block == offset / 128 && finding.refuses &&
           !finding.text.empty();
  });
}

QByteArray textOf(const Table& table, Check check, std::size_t offset) {
  for (const edid::Finding& finding : edid::checkTable(table)) {
    if (finding.check == check && finding.offset == offset) {
      return QByteArray::fromStdString(finding.text);
    }
  }
  return {};
}

bool accepted(const Table& table) { return edid::isAccepted(edid::checkTable(table)); }

Table withByte(Table table, std::size_t offset, unsigned value) {
  table.at(offset) = static_cast<std::uint8_t>(value);
  edid_test::setChecksums(table);
  return table;
}

Table sample(const char* kind) {
  for (const SampleDisplay& display : edid_test::sampleDisplays()) {
    if (QByteArray(kind) == display.kind) {
      return display.table;
    }
  }
  qFatal("no sample display '%s'", kind);
}

}  // namespace

/// What the check refuses, and at which byte, based on EDIDs of sample displays.
class EdidCheckTest : public QObject {
  Q_OBJECT

  const std::vector<SampleDisplay> displays_ = edid_test::sampleDisplays();

 private slots:
  void thereAreEnoughDisplaysAndTheyDiffer() {
    QSet<QByteArray> tables;
    for (const SampleDisplay& display : displays_) {
      tables << QByteArray(reinterpret_cast<const char*>(display.table.data()), static_cast<int>(display.table.size()));
    }
    QVERIFY(tables.size() >= 20);
    QCOMPARE(tables.size(), static_cast<int>(displays_.size()));
  }

  void everyDisplayIsWithoutFinding() {
    for (const SampleDisplay& display : displays_) {
      for (const edid::Finding& finding : edid::checkTable(display.table)) {
        QFAIL(qPrintable(QStringLiteral("%1: %2").arg(display.kind, finding.text.c_str())));
      }
    }
  }

  void everyDamagedBitIsRefused() {
    int refused = 0;
    for (const SampleDisplay& display : displays_) {
      Table table = display.table;
      for (std::size_t bit = 0; bit < table.size() * 8; ++bit) {
        const auto mask = static_cast<std::uint8_t>(1U << bit % 8);
        table[bit / 8] ^= mask;
        QVERIFY2(!accepted(table), qPrintable(QStringLiteral("%1, bit %2").arg(display.kind).arg(bit)));
        table[bit / 8] ^= mask;
        ++refused;
      }
    }
    QVERIFY(refused > 28 * 1024);
  }

  void everyDamagedHeaderBitIsRefusedEvenWithRightChecksums() {
    for (const SampleDisplay& display : displays_) {
      for (std::size_t bit = 0; bit < 64; ++bit) {
        const Table table = withByte(display.table, bit / 8, display.table[bit / 8] ^ 1U << bit % 8);
        QVERIFY2(refusedFor(table, Check::kHeader, bit / 8), display.kind);
      }
    }
  }

  void everyWrongExtensionCountIsRefusedEvenWithRightChecksums() {
    for (const SampleDisplay& display : displays_) {
      for (unsigned count = 0; count < 256; ++count) {
        const Table table = withByte(display.table, 126, count);
        const bool right = count == display.table.size() / 128 - 1;
        QCOMPARE(refusedFor(table, Check::kCount, 126), !right);
      }
    }
  }

  void everyWrongChecksumIsRefusedAndRepaired() {
    for (const SampleDisplay& display : displays_) {
      for (std::size_t at = 127; at < display.table.size(); at += 128) {
        const std::uint8_t right = display.table[at];
        for (unsigned value = 0; value < 256; ++value) {
          Table table = display.table;
          table[at] = static_cast<std::uint8_t>(value);
          QCOMPARE(refusedFor(table, Check::kChecksum, at), value != right);
          const auto changes = edid::fixChecksums(table);
          QCOMPARE(changes.size(), value != right ? std::size_t{1} : std::size_t{0});
          QVERIFY(table == display.table);
          if (!changes.empty()) {
            QCOMPARE(changes[0].offset, at);
            QCOMPARE(+changes[0].before, static_cast<int>(value));
            QCOMPARE(+changes[0].after, +right);
          }
        }
      }
    }
  }

  void theSectionChecksumOfDisplayIdCounts() {
    const Table right = sample("4K monitor, DisplayPort, with DisplayID");
    const std::size_t at = 128U + 5U + right[130];
    const Table wrong = withByte(right, at, right[at] ^ 0x40U);
    QVERIFY(refusedFor(wrong, Check::kChecksum, at));
    Table repaired = wrong;
    const auto changes = edid::fixChecksums(repaired);
    QCOMPARE(changes.size(), std::size_t{2});
    QCOMPARE(changes[0].offset, at);
    QCOMPARE(changes[1].offset, std::size_t{255});
    QVERIFY(repaired == right);
  }

  void onlyWholeBlocksAreAccepted() {
    const Table whole = sample("1080p monitor, HDMI");
    for (std::size_t size = 0; size < 256; ++size) {
      Table cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
      const bool wholeBlocks = size != 0 && size % 128 == 0;
      QCOMPARE(refusedFor(cut, Check::kLength, size / 128 * 128), !wholeBlocks);
      QVERIFY(!accepted(cut));
      const std::size_t blocks = size / 128;
      QVERIFY(edid::fixChecksums(cut).empty());
      QCOMPARE(cut.size() / 128, blocks);
    }
  }

  void erasedFlashBehindATableIsRefused() {
    for (const std::uint8_t rest : {std::uint8_t{0x00}, std::uint8_t{0xFF}}) {
      Table table = sample("5:4 monitor, DVI");
      table.resize(512, rest);
      QVERIFY(refusedFor(table, Check::kCount, 126));
    }
  }

  void aFaultIsRefusedAtItsPlace_data() {
    QTest::addColumn<int>("check");
    QTest::addColumn<int>("offset");
    QTest::addColumn<QByteArray>("table");
    QTest::addColumn<QByteArray>("text");
    const auto row = [](const char* name, Check check, std::size_t offset, const Table& table, const char* text) {
      QTest::newRow(name) << static_cast<int>(check) << static_cast<int>(offset)
                          << QByteArray(reinterpret_cast<const char*>(table.data()), static_cast<int>(table.size()))
                          << QByteArray(text);
    };
    const Table hdmi = sample("1080p monitor, HDMI");
    const Table mapped = sample("block map and two CTA-861 extensions");
    const Table displayId = sample("4K monitor, DisplayPort, with DisplayID");
    row("structure version 2", Check::kVersion, 18, withByte(hdmi, 18, 2), "structure version 2 instead of 1");
    row("CTA-861 revision 0", Check::kVersion, 129, withByte(hdmi, 129, 0), "CTA-861 revision 0");
    row("more native timings than timings", Check::kCount, 131, withByte(hdmi, 131, 0xF3),
        "3 native timings promised, 2 there");
    row("extension tag 0", Check::kTag, 128, withByte(hdmi, 128, 0), "unknown extension tag 0x00");
    row("extension tag 3", Check::kTag, 128, withByte(hdmi, 128, 3), "unknown extension tag 0x03");
    row("timings in the CTA-861 header", Check::kOffset, 130, withByte(hdmi, 130, 3),
        "the timings' offset 3 lies in the header");
    row("timings outside the CTA-861 block", Check::kOffset, 130, withByte(hdmi, 130, 128),
        "the timings' offset 128 lies outside the block");
    row("data block across the timings' offset", Check::kOffset, 128 + 12, withByte(hdmi, 130, 15),
        "the data block runs beyond the data's end");
    row("data block beyond the data's end", Check::kOffset, 128 + 4, withByte(hdmi, 132, 0x5F),
        "the data block runs beyond the data's end");
    row("map with a wrong tag", Check::kMap, 129, withByte(mapped, 129, 0x70),
        "the map has tag 0x70 for block 2, which has 0x02");
    row("map with a block too many", Check::kMap, 131, withByte(mapped, 131, 0x02),
        "the map has tag 0x02 for block 4, which does not exist");
    row("map with a block too few", Check::kMap, 130, withByte(mapped, 130, 0x00),
        "the map has tag 0x00 for block 3, which has 0x02");
    row("map as the last block", Check::kMap, 384, withByte(mapped, 384, 0xF0),
        "block map elsewhere than in block 1 or 128");
    row("DisplayID section longer than the block", Check::kOffset, 130, withByte(displayId, 130, 122),
        "the DisplayID section of 122 bytes leaves the block");
    row("DisplayID data block longer than the section", Check::kOffset, 133, withByte(displayId, 135, 121),
        "the data block runs beyond the section's end");
    // 1080p60: 280 pixels blanking, 45 lines.
    row("clock below 10 MHz", Check::kTiming, 54, withByte(withByte(hdmi, 54, 0xE7), 55, 0x03),
        "detailed timing: pixel clock below 10 MHz");
    row("no pixels", Check::kTiming, 54, withByte(withByte(hdmi, 56, 0), 58, 0x01),
        "detailed timing: no visible pixels");
    row("no lines", Check::kTiming, 54, withByte(withByte(hdmi, 59, 0), 61, 0x00),
        "detailed timing: no visible pixels");
    row("no horizontal blanking", Check::kTiming, 54, withByte(withByte(hdmi, 57, 0), 58, 0x70),
        "detailed timing: no blanking");
    row("no vertical blanking", Check::kTiming, 54, withByte(hdmi, 60, 0), "detailed timing: no blanking");
    row("no horizontal sync", Check::kTiming, 54, withByte(hdmi, 63, 0), "detailed timing: no sync pulse");
    row("no vertical sync", Check::kTiming, 54, withByte(hdmi, 64, 0x40), "detailed timing: no sync pulse");
    row("no horizontal front porch", Check::kTiming, 54, withByte(hdmi, 62, 0), "detailed timing: no front porch");
    row("no vertical front porch", Check::kTiming, 54, withByte(hdmi, 64, 0x05), "detailed timing: no front porch");
    row("no horizontal back porch", Check::kTiming, 54, withByte(hdmi, 63, 280 - 88),
        "detailed timing: horizontal front porch and sync fill the blanking");
    row("no vertical back porch", Check::kTiming, 54, withByte(hdmi, 60, 9),
        "detailed timing: vertical front porch and sync fill the blanking");
    row("first descriptor without timing", Check::kTiming, 54, withByte(withByte(hdmi, 54, 0), 55, 0),
        "the first descriptor is no detailed timing");
    row("a CTA-861 timing without lines", Check::kTiming, 128U + hdmi[130],
        withByte(withByte(hdmi, 128U + hdmi[130] + 5U, 0), 128U + hdmi[130] + 7U, 0),
        "detailed timing: no visible pixels");
  }

  void aFaultIsRefusedAtItsPlace() {
    QFETCH(int, check);
    QFETCH(int, offset);
    QFETCH(QByteArray, table);
    QFETCH(QByteArray, text);
    QCOMPARE(textOf(Table(table.begin(), table.end()), static_cast<Check>(check), static_cast<std::size_t>(offset)),
             text);
    QVERIFY(refusedFor(Table(table.begin(), table.end()), static_cast<Check>(check), static_cast<std::size_t>(offset)));
  }

  void aWrongByteIsToldWithTheRightOne() {
    const Table right = sample("1080p monitor, HDMI");
    Table table = withByte(withByte(right, 3, 0xA5), 126, 0);
    QCOMPARE(textOf(table, Check::kHeader, 3), QByteArray("header byte is 0xA5 instead of 0xFF"));
    QCOMPARE(textOf(table, Check::kCount, 126), QByteArray("0 extensions promised, 1 there"));
    table = right;
    table[126] = 1;
    table.resize(128);
    QCOMPARE(textOf(table, Check::kCount, 126), QByteArray("1 extension promised, 0 there"));
    table = withByte(right, 255, 0);
    const QByteArray checksum = QByteArray::number(+table[255], 16).toUpper().rightJustified(2, '0');
    table[255] = static_cast<std::uint8_t>(table[255] ^ 0xFFU);
    const QByteArray wrong = QByteArray::number(+table[255], 16).toUpper().rightJustified(2, '0');
    QCOMPARE(textOf(table, Check::kChecksum, 255), "checksum is 0x" + wrong + " instead of 0x" + checksum);
  }

  void aLengthIsToldInBytes() {
    const Table right = sample("1080p monitor, HDMI");
    QCOMPARE(textOf({}, Check::kLength, 0), QByteArray("the table is empty"));
    QCOMPARE(textOf(Table(right.begin(), right.begin() + 1), Check::kLength, 0),
             QByteArray("1 byte, which is no multiple of 128"));
    QCOMPARE(textOf(Table(right.begin(), right.begin() + 255), Check::kLength, 128),
             QByteArray("255 bytes, which is no multiple of 128"));
  }

  void theChecksumOfASectionIsToldWithTheRightOne() {
    const Table right = sample("4K monitor, DisplayPort, with DisplayID");
    const std::size_t at = 128U + 5U + right[130];
    const Table wrong = withByte(right, at, 0);
    QCOMPARE(textOf(wrong, Check::kChecksum, at),
             "DisplayID checksum is 0x00 instead of 0x" +
                 QByteArray::number(+right[at], 16).toUpper().rightJustified(2, '0'));
  }

  void whatIsAtTheEdgeIsAccepted() {
    const auto withCta = [](const Table& cta) {
      edid_test::EdidBuilder builder("ORV", 1, 3, 0x80, 0x0A);
      return builder.timing(edid_test::k1080p60).extension(cta).table();
    };
    const auto data = [](unsigned offset) {
      Table block = edid_test::CtaBuilder(0).block();
      block[2] = static_cast<std::uint8_t>(offset);
      return block;
    };
    for (const unsigned offset : {0U, 4U, 127U}) {
      QVERIFY2(accepted(withCta(data(offset))), QByteArray::number(offset));
    }
    for (const unsigned offset : {1U, 3U, 128U}) {
      QVERIFY2(refusedFor(withCta(data(offset)), Check::kOffset, 130), QByteArray::number(offset));
    }
    // The base block's timing is the one that is native; revision 1 tells no number.
    QVERIFY(accepted(withCta(edid_test::CtaBuilder(1).block())));
    QVERIFY(!accepted(withCta(edid_test::CtaBuilder(2).block())));
    QVERIFY(!accepted(withCta(edid_test::CtaBuilder(2, 2).block())));
    QVERIFY(accepted(withCta(edid_test::CtaBuilder(2, 1).block())));
    QVERIFY(accepted(withCta(edid_test::CtaBuilder(2).timing(edid_test::k720p60, 1600, 900).block())));
  }

  void theFirstTimingIsRequiredFrom13On() {
    for (const unsigned revision : {2U, 3U, 4U}) {
      const Table table = edid_test::EdidBuilder("ORV", 1, revision, 0x80, 0x0A).name("none").table();
      QCOMPARE(refusedFor(table, Check::kTiming, 54), revision >= 3);
    }
  }

  void aClockWithALowByteOf0IsATiming() {
    edid_test::Timing timing = edid_test::k720p60;  // its width has a low byte of 0, too
    timing.clockKhz = 163'840;
    edid_test::EdidBuilder builder("ORV", 1, 3, 0x80, 0x0A);
    QVERIFY(accepted(builder.timing(timing).extension(edid_test::CtaBuilder(1).block()).table()));
  }

  void theBaseBlockIsNeverRepairedAsADisplayIdSection() {
    Table table = sample("5:4 monitor, DVI");
    table[0] = 0x70;
    table[2] = 10;  // the length of a section
    const auto changes = edid::fixChecksums(table);
    QCOMPARE(changes.size(), std::size_t{1});
    QCOMPARE(changes[0].offset, std::size_t{127});
  }

  void aMapIsMissedUpTo13Only() {
    for (const unsigned revision : {3U, 4U}) {
      const Table cta = edid_test::CtaBuilder(0).block();
      edid_test::EdidBuilder builder("ORV", 1, revision, 0x80, 0x0A);
      const auto findings = edid::checkTable(builder.timing(edid_test::k1080p60).extension(cta).extension(cta).table());
      QCOMPARE(findings.size(), revision == 3 ? std::size_t{1} : std::size_t{0});
      QVERIFY(findings.empty() || (findings[0].offset == 128 && findings[0].check == Check::kMap &&
                                   findings[0].text == "no block map, although there is more than one extension"));
    }
  }

  void toleratedFaultsAreReportedButNotRefused() {
    const Table mapped = sample("block map and two CTA-861 extensions");
    Table table(mapped.begin(), mapped.begin() + 128);
    table.insert(table.end(), mapped.begin() + 256, mapped.end());
    const auto findings = edid::checkTable(withByte(table, 126, 2));
    QCOMPARE(findings.size(), std::size_t{1});
    QCOMPARE(findings[0].check, Check::kMap);
    QVERIFY(!findings[0].refuses);
    QVERIFY(edid::isAccepted(findings));
  }

  void aMapCoversUpTo126BlocksAndTheNextMapTheRest() {
    // 1.4 base, map, 126 blocks, a second map in block 128, one block behind it.
    Table table = sample("16:10 monitor, DisplayPort, no extension");
    const Table cta = edid_test::CtaBuilder(0).block();
    const auto map = [](std::size_t blocks) {
      Table bytes(128);
      bytes[0] = 0xF0;
      std::fill_n(bytes.begin() + 1, blocks, std::uint8_t{0x02});
      return bytes;
    };
    const auto append = [&](const Table& block) { table.insert(table.end(), block.begin(), block.end()); };
    append(map(126));
    for (int block = 2; block < 128; ++block) {
      append(cta);
    }
    append(map(1));
    append(cta);
    QVERIFY(accepted(withByte(table, 126, 129)));
    QVERIFY(refusedFor(withByte(withByte(table, 126, 129), 128 * 128 + 1, 0), Check::kMap, 128 * 128 + 1));
  }

  void checksHaveNamesOfTheirOwn() {
    QSet<QByteArray> names;
    for (const Check check : edid::allChecks()) {
      const std::string_view name = edid::nameOf(check);
      names << QByteArray(name.data(), static_cast<int>(name.size()));
    }
    QCOMPARE(names,
             (QSet<QByteArray>{"length", "header", "version", "count", "checksum", "tag", "map", "offset", "timing"}));
    QVERIFY(edid::nameOf(Check::kTiming) == "timing" && edid::nameOf(Check::kMap) == "map");
  }
};

QTEST_GUILESS_MAIN(EdidCheckTest)
#include "edid_check_test.moc"
