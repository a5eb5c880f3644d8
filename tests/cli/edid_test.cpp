#include "tests/cli/cli_bench.h"

#include <QtTest>

class EdidVerbTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    bench_.renew();
    table_ = bench_.path("table.bin");
    QCOMPARE(bench_.run(QStringList{"edid", "read", "--slot", "5", "-o", table_}).code, 0);
    QFile file(table_);
    QVERIFY(file.open(QIODevice::ReadOnly));
    content_ = file.readAll();
    QCOMPARE(content_.size(), 256);
  }

  void showTellsWhatAPersonWantsToKnow() {
    const auto result = bench_.run("edid show --sink");
    QCOMPARE(result.code, 0);
    for (const char* label :
         {"Maker:", "Product code:", "Preferred mode:", "3840x2160", "Audio:", "HDMI:", "HDR:", "checksum right"}) {
      QVERIFY2(result.out.contains(label), label);
    }
    QVERIFY(!result.out.contains("Wrong:"));
  }

  void rawBytesGoToStandardOutputOnly() {
    const auto result = bench_.run("edid read --slot 5 -o -");
    QCOMPARE(result.out, content_);
    QCOMPARE(result.err, QByteArray());
    QCOMPARE(bench_.run("edid read --slot 5 --size 384 -o -").out.size(), 384);
  }

  void standardInputIsAFileLikeAnother() {
    bench_.input = content_;
    QCOMPARE(bench_.run("edid check -").code, 0);
    QCOMPARE(bench_.run("-y edid write - --slot 1").code, 0);
    QCOMPARE(bench_.run("edid read --slot 1 -o -").out, content_);
  }

  void aDamagedTableIsRefusedAndNamesTheCheck_data() {
    QTest::addColumn<int>("offset");
    QTest::addColumn<QString>("check");
    QTest::newRow("header") << 1 << "header";
    QTest::newRow("checksum") << 200 << "checksum";
    QTest::newRow("base block's checksum") << 127 << "checksum";
  }
  void aDamagedTableIsRefusedAndNamesTheCheck() {
    QFETCH(int, offset);
    QFETCH(QString, check);
    QByteArray damaged = content_;
    damaged[offset] = static_cast<char>(damaged[offset] ^ 0x04);
    const QString path = bench_.write("damaged.bin", damaged);
    const auto result = bench_.run(QStringList{"-j", "-y", "edid", "write", path, "--slot", "2"});
    QCOMPARE(result.code, 5);
    QCOMPARE(result.document()["check"].text(), check);
    QCOMPARE(callsOf("AT_EDID_Flash_Set_table"), 0);
    const auto checked = bench_.run(QStringList{"-j", "edid", "check", path});
    QCOMPARE(checked.code, 5);
    QCOMPARE(checked.document()["accepted"], cli::Value(false));
  }

  void fixedChecksumsArePrintedAndWritten() {
    QByteArray damaged = content_;
    damaged[255] = static_cast<char>(damaged[255] ^ 0x10);
    const QString path = bench_.write("damaged.bin", damaged);
    const auto result = bench_.run(QStringList{"-j", "-y", "edid", "write", path, "--slot", "2", "--fix-checksums"});
    QCOMPARE(result.code, 0);
    QVERIFY(result.err.contains("byte 255:"));
    QCOMPARE(result.document()["fixed"].list().size(), std::size_t{1});
    QCOMPARE(bench_.run("edid read --slot 2 -o -").out, content_);
  }

  void forceLiftsOnlyTheNamedCheck() {
    QByteArray damaged = content_;
    damaged[255] = static_cast<char>(damaged[255] ^ 0x10);
    const QString path = bench_.write("damaged.bin", damaged);
    const QStringList words{"--confirm=force", "edid", "write", path, "--slot", "2"};
    QCOMPARE(bench_.run(QStringList{"--force=header"} + words).code, 5);
    QCOMPARE(bench_.run(QStringList{"--force=checksum"} + words).code, 0);
    QCOMPARE(bench_.run("edid read --slot 2 -o -").out, damaged);
  }

  void noPlaceOrTwoIsAUsageError() {
    for (const char* line :
         {"edid show", "edid show --sink --ddc", "edid check", "edid read --slot 1", "edid read -o -",
          "-j edid read --slot 1 -o -", "edid write", "edid write x --slot 7", "edid mode loud", "edid default 7"}) {
      QCOMPARE(bench_.run(line).code, 2);
    }
  }

  void emptyAndOversizedTablesAreRefused() {
    const QString empty = bench_.write("empty.bin", "");
    const QString large = bench_.write("large.bin", QByteArray(640, '\0'));
    for (const QString& path : {empty, large}) {
      QCOMPARE(bench_.run(QStringList{"-y", "edid", "write", path, "--slot", "2"}).code, 5);
    }
    QCOMPARE(bench_.run(QStringList{"edid", "show", empty}).code, 5);
  }

  void modeAndSlotAreSetAndReadBack() {
    QCOMPARE(bench_.run("-j edid mode mixed").document()["evidence"].text(), QString("readback"));
    QVERIFY(bench_.run("edid mode").out.contains("mixed"));
    QCOMPARE(bench_.run("-j edid default 4").document()["changed"], cli::Value(true));
    QVERIFY(bench_.run("edid default").out.contains("4"));
  }

  void withoutASinkTheSnapshotIsWhole() {
    simulator::attachSink(false);
    const auto result = bench_.run("-j snapshot");
    QCOMPARE(result.code, 0);
    QVERIFY(result.document()["edid"]["sink"].isNull());
    QCOMPARE(bench_.run("edid show --sink").code, 1);
  }

 private:
  CliBench bench_;
  QString table_;
  QByteArray content_;
};

QTEST_GUILESS_MAIN(EdidVerbTest)
#include "edid_test.moc"
