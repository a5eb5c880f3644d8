#include "tests/cli/cli_bench.h"
#include "tests/edid/sample_displays.h"

#include <QProcess>
#include <QtTest>

using edid_test::SampleDisplay;

namespace {

// The reference checker.
bool isPassedByEdidDecode(const QByteArray& table) {
  QProcess process;
  process.setProcessChannelMode(QProcess::MergedChannels);
  process.start("edid-decode", {"--check", "--skip-hex-dump", "-"});
  process.write(table);
  process.closeWriteChannel();
  const bool ended = process.waitForFinished() && process.exitStatus() == QProcess::NormalExit;
  return ended && process.exitCode() == 0 && process.readAll().contains("EDID conformity: PASS");
}

}  // namespace

/// The verb edid with EDIDs of many kinds of displays, compared with edid-decode.
class EdidJudgeTest : public QObject {
  Q_OBJECT

  CliBench bench_;
  const std::vector<SampleDisplay> displays_ = edid_test::sampleDisplays();

  void addDisplays() const {
    QTest::addColumn<QByteArray>("table");
    for (const SampleDisplay& display : displays_) {
      QTest::newRow(display.kind) << QByteArray(reinterpret_cast<const char*>(display.table.data()),
                                                static_cast<int>(display.table.size()));
    }
  }

 private slots:
  void init() { bench_.renew(); }

  void thereAreEnoughDisplays() { QVERIFY(displays_.size() >= 20); }

  void tablesThatPassAreWrittenAndReadBack_data() { addDisplays(); }
  void tablesThatPassAreWrittenAndReadBack() {
    QFETCH(QByteArray, table);
    QVERIFY(isPassedByEdidDecode(table));
    bench_.input = table;
    QCOMPARE(bench_.run("edid check -").code, 0);
    if (table.size() > 512) {
      QCOMPARE(bench_.run("-y edid write - --slot 2").code, 5);
      return;  // longer than a slot
    }
    QCOMPARE(bench_.run("-y edid write - --slot 2").code, 0);
    const QByteArray read = bench_.run("edid read --slot 2 --size 512 -o -").out.left(table.size());
    QCOMPARE(read, table);
    QVERIFY(isPassedByEdidDecode(read));
  }

  void aBitDamagedIsRefusedByBoth_data() { addDisplays(); }
  void aBitDamagedIsRefusedByBoth() {
    QFETCH(QByteArray, table);
    QVector<int> bytes{0, 1, 2, 3, 4, 5, 6, 7, 126};
    for (int last = 127; last < table.size(); last += 128) {
      bytes << last;
    }
    for (const int byte : bytes) {
      for (int bit = 0; bit < 8; ++bit) {
        QByteArray damaged = table;
        damaged[byte] = static_cast<char>(static_cast<unsigned>(damaged[byte]) ^ 1U << bit);
        bench_.input = damaged;
        const QByteArray what = "byte " + QByteArray::number(byte) + ", bit " + QByteArray::number(bit);
        QVERIFY2(bench_.run("edid check -").code == 5, what.constData());
        QVERIFY2(bench_.run("-y edid write - --slot 2").code == 5, what.constData());
        // Starting edid-decode is slow, so try one bit of each byte.
        QVERIFY2(bit != byte % 8 || !isPassedByEdidDecode(damaged), what.constData());
      }
    }
    QVERIFY(simulator::journal().empty());
  }
};

QTEST_GUILESS_MAIN(EdidJudgeTest)
#include "edid_judge_test.moc"
