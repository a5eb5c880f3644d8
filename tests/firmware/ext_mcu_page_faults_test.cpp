#include "tests/firmware/ext_mcu_fixture.h"
#include "tests/support/faults.h"

#include <QTest>

using simulator::Fault;
using simulator::FaultEffect;
using simulator::FaultPoint;
using upgrade_reference::Family;
using upgrade_reference::kFamilies;
using namespace std::chrono_literals;

Q_DECLARE_METATYPE(Fault)

/// Upgrades of a misbehaving MCU: the texts shown, and the device afterwards.
class ExtMcuPageFaultsTest : public ExtMcuFixture {
  Q_OBJECT

 private slots:
  void init() { startMcu(); }
  void cleanup() { finish(); }

  // Uses an image of two blocks. Afterwards a plain upgrade of the same device succeeds.
  void aFaultHasItsTextAndLeavesADeviceThatCanBeUpgraded_data() {
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<bool>("applicationLeft");
    QTest::addColumn<bool>("needsReplug");

    const QStringList started{"Start..."};
    const QStringList booted = started + QStringList{"MCU into boot", "Update Count2..."};
    const QStringList sent = booted + QStringList{"Update 0%...", "Update 50%..."};
    const QString notReady = "Error MCU status...[fail]";
    const auto row = [](const char* name, Fault fault, const QStringList& texts, bool applicationLeft = false,
                        bool needsReplug = false) {
      QTest::newRow(name) << fault << texts << applicationLeft << needsReplug;
    };
    const auto numbered = [](const char* text, int count) {
      QStringList texts;
      for (int i = 0; i < count; ++i) {
        texts << QString::number(i) + QString::fromLatin1(text);
      }
      return texts;
    };

    const QString resetFailed = "Error Reset MCU ...";
    row("reset not taken", faults::inMcu(FaultPoint::kMcuReset, FaultEffect::kNotAcknowledged),
        started + QStringList{resetFailed}, true);
    row("reset taken, reply lost", faults::inMcu(FaultPoint::kMcuReset, FaultEffect::kLost),
        started + QStringList{resetFailed});
    const QString setBootFailed = "Error set boot mode ...";
    row("set-boot not taken", faults::inMcu(FaultPoint::kMcuSetBoot, FaultEffect::kNotAcknowledged),
        started + QStringList{setBootFailed});
    row("set-boot taken, reply lost", faults::inMcu(FaultPoint::kMcuSetBoot, FaultEffect::kLost),
        started + QStringList{setBootFailed});
    row("stuck after set-boot", faults::inMcu(FaultPoint::kMcuSetBoot, FaultEffect::kBusy),
        started + QStringList{notReady}, false, true);
    row("busy for 99 polls after set-boot", faults::inMcu(FaultPoint::kMcuSetBoot, FaultEffect::kBusy, 1, 1, 99),
        sent + QStringList{success()}, true);
    row("busy for 100 polls after set-boot", faults::inMcu(FaultPoint::kMcuSetBoot, FaultEffect::kBusy, 1, 1, 100),
        started + QStringList{notReady});

    const char* const startText = "Error MCU checksum...[1]";
    row("first start damaged", faults::inMcu(FaultPoint::kMcuStart, FaultEffect::kDamage),
        booted + numbered(startText, 1) + sent.mid(booted.size()) + QStringList{success()}, true);
    row("first start not taken", faults::inMcu(FaultPoint::kMcuStart, FaultEffect::kNotAcknowledged),
        booted + numbered(startText, 1) + sent.mid(booted.size()) + QStringList{success()}, true);
    row("fourth start misread", faults::inMcu(FaultPoint::kMcuStart, FaultEffect::kMisread, 4),
        booted + QStringList{"3Error MCU checksum...[1]"} + sent.mid(booted.size()) + QStringList{success()}, true);
    row("nine starts damaged", faults::inMcu(FaultPoint::kMcuStart, FaultEffect::kDamage, 1, 9),
        booted + numbered(startText, 9) + sent.mid(booted.size()) + QStringList{success()}, true);
    row("ten starts damaged", faults::inMcu(FaultPoint::kMcuStart, FaultEffect::kDamage, 1, 10),
        booted + numbered(startText, 10), false);
    row("last start damaged", faults::inMcu(FaultPoint::kMcuStart, FaultEffect::kDamage, 10),
        booted + QStringList{"9Error MCU checksum...[1]"});
    row("stuck after the third start", faults::inMcu(FaultPoint::kMcuStart, FaultEffect::kBusy, 3),
        booted + QStringList{notReady}, false, true);

    // Checksum of the second block's address, 0x08005400: 5A + A2 + 08 + 54.
    const char* const addressText = "Error MCU Addr checksum...[2] 88";
    const QStringList firstBlock = booted + QStringList{"Update 0%..."};
    const QStringList rest{"Update 50%...", success()};
    row("second address damaged", faults::inMcu(FaultPoint::kMcuAddress, FaultEffect::kDamage, 2),
        firstBlock + numbered(addressText, 1) + rest, true);
    row("second address not taken", faults::inMcu(FaultPoint::kMcuAddress, FaultEffect::kNotAcknowledged, 2),
        firstBlock + numbered(addressText, 1) + rest, true);
    row("second address misread", faults::inMcu(FaultPoint::kMcuAddress, FaultEffect::kMisread, 2),
        firstBlock + numbered(addressText, 1) + rest, true);
    row("second address damaged nine times", faults::inMcu(FaultPoint::kMcuAddress, FaultEffect::kDamage, 2, 9),
        firstBlock + numbered(addressText, 9) + rest, true);
    row("second address damaged ten times", faults::inMcu(FaultPoint::kMcuAddress, FaultEffect::kDamage, 2, 10),
        firstBlock + numbered(addressText, 10));
    row("stuck after the second address", faults::inMcu(FaultPoint::kMcuAddress, FaultEffect::kBusy, 2),
        firstBlock + QStringList{notReady}, false, true);

    const QString dataText = "Error MCU data checksum...[fail]";
    row("first data damaged", faults::inMcu(FaultPoint::kMcuData, FaultEffect::kDamage, 1),
        booted + QStringList{dataText});
    row("first data not taken", faults::inMcu(FaultPoint::kMcuData, FaultEffect::kNotAcknowledged, 1),
        booted + QStringList{dataText});
    row("twentieth data damaged", faults::inMcu(FaultPoint::kMcuData, FaultEffect::kDamage, 20),
        firstBlock + QStringList{dataText});
    row("twentieth data misread", faults::inMcu(FaultPoint::kMcuData, FaultEffect::kMisread, 20),
        firstBlock + QStringList{dataText});
    row("stuck after the twentieth data", faults::inMcu(FaultPoint::kMcuData, FaultEffect::kBusy, 20),
        firstBlock + QStringList{notReady}, false, true);
    row("twentieth data's reply lost", faults::inMcu(FaultPoint::kMcuData, FaultEffect::kLost, 20),
        sent + QStringList{success()}, true);

    const QString finishText = "Error MCU Addr checksum...[3]";
    const auto finishes = [&finishText](int count) {
      QStringList texts;
      for (int i = 0; i < count; ++i) {
        texts << finishText;
      }
      return texts;
    };
    row("finish damaged", faults::inMcu(FaultPoint::kMcuFinish, FaultEffect::kDamage),
        sent + finishes(1) + QStringList{success()}, true);
    row("finish not taken", faults::inMcu(FaultPoint::kMcuFinish, FaultEffect::kNotAcknowledged),
        sent + finishes(1) + QStringList{success()}, true);
    row("finish misread nine times", faults::inMcu(FaultPoint::kMcuFinish, FaultEffect::kMisread, 1, 9),
        sent + finishes(9) + QStringList{success()}, true);
    row("finish damaged ten times", faults::inMcu(FaultPoint::kMcuFinish, FaultEffect::kDamage, 1, 10),
        sent + finishes(10));
    // The MCU accepted it, although the program could not verify that.
    row("finish misread ten times", faults::inMcu(FaultPoint::kMcuFinish, FaultEffect::kMisread, 1, 10),
        sent + finishes(10), true);
    row("stuck after finish", faults::inMcu(FaultPoint::kMcuFinish, FaultEffect::kBusy), sent + QStringList{notReady},
        false, true);
  }

  void aFaultHasItsTextAndLeavesADeviceThatCanBeUpgraded() {
    QFETCH(Fault, fault);
    QFETCH(QStringList, texts);
    QFETCH(bool, applicationLeft);
    QFETCH(bool, needsReplug);
    logPauses();
    connectDevice();
    const QByteArray image = randomImage(2000, 7);
    load(image);
    simulator::addFault(fault);

    const QStringList seen = upgrade();
    QCOMPARE(firstDifference(seen, texts), QString());
    const QByteArray padded = upgrade_reference::padded(kFamilies[0], image);
    if (texts.last() == success()) {
      QCOMPARE(flashStart(padded.size()), padded);
    }
    simulator::advanceTime(5s);
    QCOMPARE(simulator::mcuRunsApplication(), applicationLeft);

    if (needsReplug) {
      simulator::unplug();
      simulator::replug();
    }
    const bool inApplication = simulator::mcuRunsApplication();
    const QStringList plain = upgrade();
    QCOMPARE(firstDifference(plain, upgrade_reference::texts(kFamilies[0], image, inApplication)), QString());
    QCOMPARE(flashStart(padded.size()), padded);
  }

  void theTransferAtWhichTheBusFailsDecidesTheText_data() {
    QTest::addColumn<unsigned>("transfer");
    QTest::addColumn<QString>("lastText");
    // The plain sequence is detection, reset, set-boot, five polls, then the packets.
    QTest::newRow("family read") << 1U << "Start...";
    QTest::newRow("reset") << 2U << "Error Reset MCU ...";
    QTest::newRow("set-boot") << 3U << "Error set boot mode ...";
    QTest::newRow("ready polls") << 4U << "Error MCU status...[fail]";
    QTest::newRow("start") << 9U << "9Error MCU checksum...[1]";
    QTest::newRow("poll after the first start") << 11U << "Error MCU status...[fail]";
    QTest::newRow("address") << 39U << "9Error MCU Addr checksum...[2] 84";
    QTest::newRow("data") << 42U << "Error MCU data checksum...[fail]";
  }

  // From one transfer on, all fail, as if a cable had come loose.
  void theTransferAtWhichTheBusFailsDecidesTheText() {
    QFETCH(unsigned, transfer);
    QFETCH(QString, lastText);
    logPauses();
    connectDevice();  // one transfer: the version
    load(randomImage(2000, 7));
    simulator::addFault(faults::inMcu(FaultPoint::kMcuTransfer, FaultEffect::kNotAcknowledged, transfer + 1, 0));
    QCOMPARE(upgrade().last(), lastText);
  }

  void aFailedChecksumReadCountsAs0xFF_data() {
    QTest::addColumn<int>("firstByte");
    QTest::addColumn<QString>("lastText");
    // The first data packet's checksum is 5A + A3 + the image's only byte.
    QTest::newRow("checksum 0xFF") << 0x02 << success();
    QTest::newRow("checksum 0xFE") << 0x01 << "Error MCU data checksum...[fail]";
    QTest::newRow("checksum 0x00") << 0x03 << "Error MCU data checksum...[fail]";
  }

  void aFailedChecksumReadCountsAs0xFF() {
    QFETCH(int, firstByte);
    QFETCH(QString, lastText);
    startMcu(R"({"mode": "bootLoader"})");
    logPauses();
    connectDevice();
    load(QByteArray(1, static_cast<char>(firstByte)));
    // Transfers: 1 detection, 3 for each start, 3 for the address, 1 data, then its
    // checksum. The version read at connecting failed and does not count.
    simulator::addFault(faults::inMcu(FaultPoint::kMcuTransfer, FaultEffect::kNotAcknowledged, 1 + 30 + 3 + 2));
    QCOMPARE(upgrade().last(), lastText);
  }

  void aPowerCutLeavesTheBootLoaderAndTheNextUpgradeRecovers_data() {
    QTest::addColumn<int>("family");
    QTest::addColumn<int>("calls");
    for (int family = 0; family < 2; ++family) {
      for (const int calls : {60, 75, 90, 120, 165, 200}) {
        QTest::addRow("family %s, after %d calls", kFamilies[family].code, calls) << family << calls;
      }
    }
  }

  void aPowerCutLeavesTheBootLoaderAndTheNextUpgradeRecovers() {
    QFETCH(int, family);
    QFETCH(int, calls);
    const Family& chip = kFamilies[family];
    startMcu(QByteArray(R"({"family": ")") + chip.code + "\"}", "\"unplugAfterCalls\": " + QByteArray::number(calls));
    logPauses();
    connectDevice();
    const QByteArray image = randomImage(5 * 1024, 3);
    load(image);
    QVERIFY(upgrade().last().contains("Error MCU"));
    QVERIFY(flashStart(image.size()) != image);

    simulator::replug();
    simulator::advanceTime(5s);
    QVERIFY(!simulator::mcuRunsApplication());
    const QStringList plain = upgrade();
    QCOMPARE(firstDifference(plain, upgrade_reference::texts(chip, image, false)), QString());
    QCOMPARE(flashStart(image.size()), image);
  }
};

QTEST_MAIN(ExtMcuPageFaultsTest)
#include "ext_mcu_page_faults_test.moc"
