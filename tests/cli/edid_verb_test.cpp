#include "cli_bench.h"
#include "tests/edid/sample_displays.h"

#include <QtTest>

#include <algorithm>

using edid_test::SampleDisplay;
using edid_test::Table;

namespace {

QByteArray bytesOf(const Table& table) {
  return {reinterpret_cast<const char*>(table.data()), static_cast<int>(table.size())};
}

QByteArray sampleTable(const char* kind) {
  for (const SampleDisplay& display : edid_test::sampleDisplays()) {
    if (QByteArray(kind) == display.kind) {
      return bytesOf(display.table);
    }
  }
  qFatal("no sample display '%s'", kind);
}

QByteArray withBitDamaged(QByteArray table, int bit) {
  table[bit / 8] = static_cast<char>(static_cast<unsigned>(table[bit / 8]) ^ 1U << bit % 8);
  return table;
}

}  // namespace

/// The verb edid: what it shows, what it refuses, and that it writes exactly the
/// intended table.
class EdidVerbTest : public QObject {
  Q_OBJECT

  CliBench bench_;
  const std::vector<SampleDisplay> displays_ = edid_test::sampleDisplays();

  QByteArray inSlot(int slot, int size) {
    return bench_.run(QStringLiteral("edid read --slot %1 --size %2 -o -").arg(slot).arg(size).split(' ')).out;
  }

  QString file(const QByteArray& table) { return bench_.write("table.bin", table); }

 private slots:
  void init() { bench_.renew(); }

  void everyDisplayIsShownAndPassesTheCheck() {
    for (const SampleDisplay& display : displays_) {
      bench_.input = bytesOf(display.table);
      const auto checked = bench_.run("-j edid check -");
      QCOMPARE(checked.code, 0);
      QCOMPARE(checked.document()["accepted"], cli::Value(true));
      QVERIFY(checked.document()["findings"].list().empty());
      const auto shown = bench_.run("-j edid show -");
      QCOMPARE(shown.code, 0);
      QCOMPARE(shown.document()["preferredMode"].text(), QString(display.preferred));
      QCOMPARE(shown.document()["name"].text(), QString(display.name));
      QVERIFY(!shown.document()["modes"].list().empty());
      const auto text = bench_.run("edid show -");
      QVERIFY2(text.out.contains("Preferred mode:") && text.out.contains(display.preferred), text.out);
    }
    QVERIFY(simulator::journal().empty());
  }

  void theTextShowsWhatMatters_data() {
    QTest::addColumn<QString>("line");
    for (const char* line : {
             "Maker: +ORV",
             "Product code: +0x5004",
             "Name: +TV 65 120",
             "Year: +2021",
             "Week: +26",
             "EDID version: +1\\.3",
             "Input: +digital$",
             "Width: +1430 mm",
             "Height: +800 mm",
             "Preferred mode: +3840x2160 60\\.00 Hz",
             "CTA-861 formats: +3840x2160 60\\.00 Hz, 3840x2160 50\\.00 Hz, 3840x2160 120\\.00 Hz",
             "Audio: +LPCM, 8 channels, 32/44\\.1/48/88\\.2/96/176\\.4/192 kHz, 16/20/24 bits",
             "Audio: +AC-3, 6 channels, 32/44\\.1/48 kHz, up to 640 kbit/s",
             "Speakers: +FL/FR, LFE1, FC, BL/BR, RLC/RRC",
             "HDMI: +address 1\\.0\\.0\\.0, TMDS clock up to 300 MHz, deep colour 30 bit, 36 bit",
             "HDMI Forum: +SCDC, TMDS rate up to 600 MHz, fixed-rate link up to 10 Gbps, 4 lanes, "
             "4:2:0 deep colour 30 bit, 36 bit, variable rate 48 to 120 Hz, automatic low latency",
             "HDR: +SDR gamma, PQ \\(ST 2084\\), HLG, up to 993 cd/m2",
             "Colorimetry: +.*BT\\.2020 RGB, DCI-P3",
             "Besides RGB: +YCbCr 4:4:4, YCbCr 4:2:2",
             "Other makers' data: +HDR10\\+",
             "Blocks: +EDID base \\(checksum right\\), CTA-861 \\(checksum right\\)",
         }) {
      QTest::newRow(line) << line;
    }
  }
  void theTextShowsWhatMatters() {
    QFETCH(QString, line);
    bench_.input = sampleTable("4K television at 120 Hz");
    const auto result = bench_.run("edid show -");
    const QRegularExpression wanted("^" + line, QRegularExpression::MultilineOption);
    QVERIFY2(wanted.match(result.out).hasMatch(), result.out);
    QCOMPARE(result.err, QByteArray());
  }

  void aDamagedTableIsShownWithWhatIsWrong() {
    bench_.input = withBitDamaged(sampleTable("audio receiver"), 200 * 8);
    const auto result = bench_.run("edid show -");
    QCOMPARE(result.code, 0);
    QVERIFY(result.out.contains("CTA-861 (checksum wrong)"));
    QVERIFY(result.out.contains("Wrong: block 1, byte 255: checksum is 0x"));
    QCOMPARE(bench_.run("edid check -").code, 5);
  }

  void lessThanABlockIsNoEdid() {
    bench_.input = QByteArray(127, '\0');
    QCOMPARE(bench_.run("edid show -").code, 5);
    QCOMPARE(bench_.run("edid check -").code, 5);
    QCOMPARE(bench_.run("edid show /no/such/file").code, 5);
  }

  void theTablesOfTheDeviceAreGoodAndReadWhole() {
    for (const QString place :
         {"--slot 0", "--slot 1", "--slot 2", "--slot 3", "--slot 4", "--slot 5", "--slot 6", "--sink", "--ddc"}) {
      const auto checked = bench_.run(("-j edid check " + place).split(' '));
      QCOMPARE(checked.code, 0);
      for (const int size : {256, 384, 512}) {
        const auto read = bench_.run(QStringLiteral("edid read %1 --size %2 -o -").arg(place).arg(size).split(' '));
        QCOMPARE(read.code, 0);
        QCOMPARE(read.out.size(), size);
        bench_.input = read.out;
        QCOMPARE(bench_.run("edid check -").code, 0);
      }
    }
  }

  void everyDisplaysTableComesBackFromASlot() {
    int slot = 0;
    for (const SampleDisplay& display : displays_) {
      const QByteArray table = bytesOf(display.table);
      if (table.size() > 512) {
        continue;
      }
      slot = (slot + 1) % 7;
      const QString number = QString::number(slot);
      const auto written = bench_.run(QStringList{"-j", "-y", "edid", "write", file(table), "--slot", number});
      QVERIFY2(written.code == 0, written.err + written.out);
      QCOMPARE(written.document()["changed"], cli::Value(true));
      QCOMPARE(written.document()["evidence"].text(), QString("readback"));
      QCOMPARE(inSlot(slot, 512), table.leftJustified(512, '\xFF'));
      // As long as the table says, not as long as the slot.
      bench_.input = table;
      QCOMPARE(bench_.run(QStringList{"edid", "show", "--slot", number}).out, bench_.run("edid show -").out);
      QCOMPARE(bench_.run(QStringList{"edid", "check", "--slot", number}).code, 0);
    }
  }

  void anIdenticalTableIsNotWritten() {
    const QString table = file(inSlot(3, 256));
    const int before = callsOf("AT_EDID_Flash_Set_table");
    const auto again = bench_.run(QStringList{"-j", "-y", "edid", "write", table, "--slot", "3"});
    QCOMPARE(again.code, 0);
    QCOMPARE(again.document()["changed"], cli::Value(false));
    QCOMPARE(callsOf("AT_EDID_Flash_Set_table"), before);
    QCOMPARE(bench_.run(QStringList{"-y", "--always", "edid", "write", table, "--slot", "3"}).code, 0);
    QCOMPARE(callsOf("AT_EDID_Flash_Set_table"), before + 1);
  }

  void everyDamagedBitIsRefusedBeforeTheDeviceIsTouched() {
    const QByteArray table = sampleTable("1080p monitor, HDMI");
    std::vector<int> bits;
    for (const int byte : {0, 1, 2, 3, 4, 5, 6, 7, 126, 127, 255}) {
      for (int bit = 0; bit < 8; ++bit) {
        bits.push_back(byte * 8 + bit);
      }
    }
    for (const int bit : bits) {
      bench_.input = withBitDamaged(table, bit);
      const auto result = bench_.run("-j -y edid write - --slot 2");
      QCOMPARE(result.code, 5);
      const QString check = bit / 8 < 8 ? "header" : bit / 8 == 126 ? "count" : "checksum";
      QCOMPARE(result.document()["check"].text(), check);
      QVERIFY2(result.document()["message"].text().startsWith("block "), result.out);
    }
    QVERIFY(simulator::journal().empty());
  }

  void impossibleTablesAreRefused_data() {
    QTest::addColumn<QByteArray>("table");
    QTest::addColumn<QString>("check");
    const QByteArray whole = sampleTable("4K television with HDR");
    QTest::newRow("empty") << QByteArray() << "";
    QTest::newRow("longer than a slot") << bytesOf(displays_.back().table).repeated(2).left(513) << "";
    QTest::newRow("cut short") << whole.left(255) << "length";
    QTest::newRow("one block of two") << whole.left(128) << "count";
  }
  void impossibleTablesAreRefused() {
    QFETCH(QByteArray, table);
    QFETCH(QString, check);
    bench_.input = table;
    const auto result = bench_.run("-j -y edid write - --slot 2");
    QCOMPARE(result.code, 5);
    QCOMPARE(result.document()["check"].text(), check);
    QVERIFY(simulator::journal().empty());
  }

  void eachRepairedByteIsPrinted() {
    const QByteArray table = sampleTable("4K television with HDR");
    bench_.input = withBitDamaged(withBitDamaged(table, 127 * 8), 255 * 8 + 7);
    const auto result = bench_.run("-j -y edid write - --slot 2 --fix-checksums");
    QCOMPARE(result.code, 0);
    const cli::Value::List fixed = result.document()["fixed"].list();
    QCOMPARE(fixed.size(), std::size_t{2});
    QCOMPARE(fixed[0]["offset"], cli::Value(127));
    QCOMPARE(fixed[0]["after"], cli::Value(static_cast<std::uint8_t>(table[127])));
    QCOMPARE(fixed[1]["offset"], cli::Value(255));
    QCOMPARE(result.err.count("becomes 0x"), 2);
    QVERIFY2(result.err.contains("byte 127: 0x"), result.err);
    QCOMPARE(inSlot(2, 256), table);
  }

  void repairedChecksumsDoNotHideAnythingElse() {
    bench_.input = withBitDamaged(sampleTable("4K television with HDR"), 126 * 8);
    const auto result = bench_.run("-j -y edid write - --slot 2 --fix-checksums");
    QCOMPARE(result.code, 5);
    QCOMPARE(result.document()["check"].text(), QString("count"));
    QVERIFY(simulator::journal().empty());
  }

  void aLiftedCheckWritesTheTableAsItIs() {
    const QByteArray table = withBitDamaged(sampleTable("4K television with HDR"), 255 * 8);
    bench_.input = table;
    QCOMPARE(bench_.run("-y --force=count edid write - --slot 2").code, 5);
    QCOMPARE(bench_.run("-y --force=checksum edid write - --slot 2").code, 10);
    QCOMPARE(callsOf("AT_EDID_Flash_Set_table"), 0);
    QCOMPARE(bench_.run("--confirm=force --force=checksum edid write - --slot 2").code, 0);
    QCOMPARE(bench_.run("--confirm=force --force=count --force=checksum edid write - --slot 3").code, 0);
    QCOMPARE(inSlot(2, 256), table);
  }

  void everyCheckCanBeLiftedByItsName() {
    for (const char* name : {"length", "header", "version", "count", "checksum", "tag", "map", "offset", "timing"}) {
      bench_.input = sampleTable("4K television with HDR");
      QCOMPARE(bench_.run(QStringList{"-y", QStringLiteral("--force=%1").arg(name), "edid", "check", "-"}).code, 0);
    }
    QCOMPARE(bench_.run("--force=nonsense edid check -").code, 2);
  }

  void writingAsksAndADryRunDoesNotWrite() {
    const QString table = file(sampleTable("4K television with HDR"));
    QCOMPARE(bench_.run(QStringList{"edid", "write", table, "--slot", "2"}).code, 10);
    const auto dry = bench_.run(QStringList{"-j", "-n", "edid", "write", table, "--slot", "2"});
    QCOMPARE(dry.code, 0);
    QCOMPARE(dry.document()["dryRun"], cli::Value(true));
    QCOMPARE(callsOf("AT_EDID_Flash_Set_table"), 0);
    bench_.isTerminal = true;
    bench_.answers = QStringList{"n"};
    QCOMPARE(bench_.run(QStringList{"edid", "write", table, "--slot", "2"}).code, 10);
    QCOMPARE(callsOf("AT_EDID_Flash_Set_table"), 0);
    bench_.answers = QStringList{"y"};
    QCOMPARE(bench_.run(QStringList{"edid", "write", table, "--slot", "2"}).code, 0);
    QCOMPARE(callsOf("AT_EDID_Flash_Set_table"), 1);
  }

  void aTableThatWasNotWrittenIsAMismatch() {
    const QString table = file(sampleTable("4K television with HDR"));
    simulator::failCall("AT_EDID_Flash_Set_table", 1, 0);
    QCOMPARE(bench_.run(QStringList{"-y", "edid", "write", table, "--slot", "2"}).code, 6);
    bench_.renew();
    simulator::failCall("AT_EDID_Flash_Set_table", 1, -42);
    QCOMPARE(bench_.run(QStringList{"-y", "edid", "write", table, "--slot", "2"}).code, 1);
  }

  void repairedBytesAreReportedEvenWhenQuiet() {
    bench_.input = withBitDamaged(sampleTable("4K television with HDR"), 127 * 8);
    const auto result = bench_.run("-q -y edid write - --slot 2 --fix-checksums");
    QCOMPARE(result.code, 0);
    QCOMPARE(result.err, QByteArray());
    QVERIFY2(
        QRegularExpression("\nFixed: +byte 127: 0x[0-9a-f]{2} becomes 0x[0-9a-f]{2}\n").match(result.out).hasMatch(),
        result.out);
  }

  void aSnapshotHoldsTheTablesWhole() {
    const QByteArray table = sampleTable("ultra-wide monitor, DisplayPort, CTA-861 and DisplayID");
    QVERIFY(table.size() > 256);
    bench_.input = table;
    QCOMPARE(bench_.run("-y edid write - --slot 2").code, 0);
    QCOMPARE(bench_.run("edid default 2").code, 0);
    const cli::Value edid = bench_.run("-j snapshot").document()["edid"];
    // The whole slot, but only as much of the offered table as it declares.
    QCOMPARE(edid["slot2"].text(), QString(table.leftJustified(512, '\xFF').toHex()));
    QCOMPARE(edid["ddc"].text(), QString(table.toHex()));
  }

  void withoutASinkTheSnapshotIsWhole() {
    simulator::attachSink(false);
    const auto result = bench_.run("-j snapshot");
    QCOMPARE(result.code, 0);
    QVERIFY(result.document()["edid"]["sink"].isNull());
    QCOMPARE(bench_.run("edid show --sink").code, 1);
  }

  void modeAndDefaultSlotAreReadBack() {
    const auto mode = bench_.run("-j edid mode follow-tx");
    QCOMPARE(mode.code, 0);
    QCOMPARE(mode.document()["evidence"].text(), QString("readback"));
    QCOMPARE(bench_.run("-j edid mode").document()["mode"].text(), QString("follow-tx"));
    QCOMPARE(bench_.run("edid default 5").code, 0);
    QCOMPARE(bench_.run("-j edid default").document()["defaultSlot"], cli::Value(5));
    QCOMPARE(bench_.run("-j edid default 5").document()["changed"], cli::Value(false));
    QCOMPARE(callsOf("AT_EDID_Flash_Set_Default_table"), 1);
  }

  void wrongUseTouchesNothing_data() {
    QTest::addColumn<QString>("line");
    for (const char* line :
         {"edid", "edid show", "edid show x --slot 1", "edid show --slot 1 --sink", "edid show --sink --ddc",
          "edid show --slot 7", "edid check", "edid read -o x", "edid read -o -", "edid write", "edid read --slot 1",
          "-j edid read --slot 1 -o -", "edid read --slot 1 --size 300 -o x", "edid write x", "edid write x --slot 9",
          "edid mode sideways", "edid default 7", "edid default -1"}) {
      QTest::newRow(line) << line;
    }
  }
  void wrongUseTouchesNothing() {
    QFETCH(QString, line);
    QCOMPARE(bench_.run(line.split(' ')).code, 2);
    QVERIFY(simulator::journal().empty());
  }
};

QTEST_GUILESS_MAIN(EdidVerbTest)
#include "edid_verb_test.moc"
