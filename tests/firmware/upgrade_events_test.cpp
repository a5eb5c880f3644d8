#include "firmware/ext_mcu_upgrade.h"
#include "firmware/upgrade_texts.h"
#include "tests/support/call_check.h"
#include "tests/support/faults.h"

#include <algorithm>
#include <vector>

#if defined(Q_OS_LINUX)
#include <sys/prctl.h>
#endif

using namespace firmware;
using device::BootCommand;
using simulator::FaultEffect;
using simulator::FaultPoint;

namespace {

constexpr char kSendOperation[] = "AT_System_Send_ExternalMCU_cmd";
constexpr char kGetOperation[] = "AT_System_Get_ExternalMCU_cmd";

QString packetText(const PacketAttempt& packet) {
  return QStringLiteral("%1 %2 %3")
      .arg(static_cast<int>(packet.command), 0, 16)
      .arg(packet.attempt)
      .arg(packet.checksum, 0, 16);
}

QString textOf(const UpgradeBegun&) { return "begun"; }
QString textOf(const McuFound& event) {
  return QStringLiteral("found %1 %2 %3").arg(event.familyCode, 0, 16).arg(event.inBootLoader).arg(event.blocks);
}
QString textOf(const BootLoaderEntered& event) { return QStringLiteral("entered %1").arg(event.blocks); }
QString textOf(const StepBegun& event) { return QStringLiteral("step %1").arg(static_cast<int>(event.step)); }
QString textOf(const PacketRefused& event) { return "refused " + packetText(event.packet); }
QString textOf(const PacketUnverified& event) {
  return QStringLiteral("unverified %1 %2").arg(packetText(event.packet)).arg(event.accepted);
}
QString textOf(const ChecksumRepeated& event) { return "repeated " + packetText(event.packet); }
QString textOf(const BlockSent& event) { return QStringLiteral("block %1 of %2").arg(event.block).arg(event.blocks); }
QString textOf(const UpgradeEnded& event) { return QStringLiteral("ended %1").arg(static_cast<int>(event.outcome)); }

QString ended(UpgradeOutcome outcome) { return textOf(UpgradeEnded{outcome}); }

using Image = std::vector<std::uint8_t>;

// One block for family "v"; its two packets have the checksums FF and FD.
const Image& shortImage() {
  static const Image image{2};
  return image;
}

}  // namespace

class UpgradeEventsTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { startMcu("application"); }

#if defined(Q_OS_LINUX)
  void pausesEndAsSoonAsTheyCanAndOthersAsBefore() {
    prctl(PR_SET_TIMERSLACK, 70'000UL);
    int slack = -1;
    firmware::upgradeExtMcu(
        shortImage(), true,
        [&slack](std::chrono::milliseconds time) {
          slack = std::max(slack, prctl(PR_GET_TIMERSLACK));
          simulator::advanceTime(time);
        },
        [](const UpgradeEvent&) {});
    QCOMPARE(slack, 1);
    QCOMPARE(prctl(PR_GET_TIMERSLACK), 70'000);
    prctl(PR_SET_TIMERSLACK, 0UL);  // back to the default
  }
#endif

  void aGoodUpgradeReportsEveryStepAndBlock() {
    const UpgradeResult result = upgrade(Image(200, 0x78));
    QCOMPARE(result.outcome, UpgradeOutcome::kDone);
    QStringList expected{"begun", "found 76 0 2", "step 0", "step 1", "entered 2", "step 2"};
    for (int attempt = 1; attempt < 10; ++attempt) {
      expected << QStringLiteral("repeated a1 %1 fb").arg(attempt);
    }
    expected << "step 3"
             << "block 0 of 2"
             << "block 1 of 2"
             << "step 4" << ended(UpgradeOutcome::kDone);
    // The first block has two equal packets, so the second one's checksum proves nothing.
    expected.insert(expected.indexOf("block 0 of 2"), "repeated a3 0 fd");
    QCOMPARE(events_, expected);
    QCOMPARE(result.packets, std::size_t{10 + 2 * 3 + 1});
    QCOMPARE(result.repeatedChecksums, std::size_t{10});
    QCOMPARE(result.unverifiedPackets, std::size_t{0});
  }

  void anMcuInItsBootLoaderIsNotReset() {
    startMcu("bootLoader");
    QCOMPARE(upgrade(shortImage()).outcome, UpgradeOutcome::kDone);
    QCOMPARE(events_.mid(0, 3), (QStringList{"begun", "found 76 1 1", "step 2"}));
    QCOMPARE(events_.filter("entered"), QStringList());
  }

  void whyNothingWasSent() {
    QCOMPARE(upgrade({}).outcome, UpgradeOutcome::kNoImage);
    QCOMPARE(events_, (QStringList{"begun", ended(UpgradeOutcome::kNoImage)}));
    QCOMPARE(upgrade(shortImage(), {}, false).outcome, UpgradeOutcome::kNotConnected);
    QCOMPARE(journalCalls(), QStringList());
    startMcu("silent");
    QCOMPARE(upgrade(shortImage()).outcome, UpgradeOutcome::kNoKnownMcu);
    QCOMPARE(events_, (QStringList{"begun", ended(UpgradeOutcome::kNoKnownMcu)}));
  }

  void everyFailureHasItsOutcome_data() {
    QTest::addColumn<int>("at");
    QTest::addColumn<int>("what");
    QTest::addColumn<int>("outcome");
    QTest::addColumn<int>("refusals");
    const auto row = [](const char* name, FaultPoint at, FaultEffect what, UpgradeOutcome outcome, int refusals) {
      QTest::newRow(name) << static_cast<int>(at) << static_cast<int>(what) << static_cast<int>(outcome) << refusals;
    };
    row("reset", FaultPoint::kMcuReset, FaultEffect::kNotAcknowledged, UpgradeOutcome::kResetFailed, 0);
    row("set boot", FaultPoint::kMcuSetBoot, FaultEffect::kNotAcknowledged, UpgradeOutcome::kSetBootFailed, 0);
    row("not ready", FaultPoint::kMcuSetBoot, FaultEffect::kBusy, UpgradeOutcome::kNotReady, 0);
    row("not ready after data", FaultPoint::kMcuData, FaultEffect::kBusy, UpgradeOutcome::kNotReady, 0);
    row("start", FaultPoint::kMcuStart, FaultEffect::kMisread, UpgradeOutcome::kStartRefused, 10);
    row("address", FaultPoint::kMcuAddress, FaultEffect::kMisread, UpgradeOutcome::kAddressRefused, 10);
    row("data", FaultPoint::kMcuData, FaultEffect::kMisread, UpgradeOutcome::kDataRefused, 1);
    row("finish", FaultPoint::kMcuFinish, FaultEffect::kMisread, UpgradeOutcome::kFinishRefused, 10);
  }

  void everyFailureHasItsOutcome() {
    QFETCH(int, at);
    QFETCH(int, what);
    QFETCH(int, outcome);
    QFETCH(int, refusals);
    simulator::addFault(faults::inMcu(static_cast<FaultPoint>(at), static_cast<FaultEffect>(what), 1, 0));
    QCOMPARE(static_cast<int>(upgrade(shortImage()).outcome), outcome);
    QCOMPARE(events_.last(), ended(static_cast<UpgradeOutcome>(outcome)));
    const QStringList refused = events_.filter("refused");
    QCOMPARE(refused.size(), refusals);
    for (int attempt = 0; attempt < refusals; ++attempt) {
      QCOMPARE(refused[attempt].section(' ', 2, 2).toInt(), attempt);
    }
  }

  // As in the window, 0xFF stands for a checksum that cannot be read.
  void anUnreadChecksumCountsAs0xFF() {
    failChecksumOf("FF]", 1);
    const UpgradeResult result = upgrade(shortImage());
    QCOMPARE(result.outcome, UpgradeOutcome::kDone);
    QCOMPARE(result.unverifiedPackets, std::size_t{1});
    QCOMPARE(events_.filter("unverified"), QStringList("unverified a3 0 ff 1"));
    QCOMPARE(events_.filter("refused"), QStringList());

    failChecksumOf("FD]", 1);
    QCOMPARE(upgrade(shortImage()).outcome, UpgradeOutcome::kDataRefused);
    QCOMPARE(events_.filter("unverified"), QStringList("unverified a3 0 fd 0"));
  }

  void aStrictUpgradeReadsTheChecksumAgain() {
    failChecksumOf("FF]", 9);
    const UpgradeResult result = upgrade(shortImage(), strict());
    QCOMPARE(result.outcome, UpgradeOutcome::kDone);
    QCOMPARE(result.unverifiedPackets, std::size_t{0});
    QCOMPARE(events_.filter("unverified"), QStringList());
    QCOMPARE(packetsSent("FF]"), 1);
  }

  void aStrictUpgradeTakesNoUnreadChecksumForAMatch() {
    failChecksumOf("FF]", 10);
    const UpgradeResult result = upgrade(shortImage(), strict());
    QCOMPARE(result.outcome, UpgradeOutcome::kDataRefused);
    QCOMPARE(result.unverifiedPackets, std::size_t{0});
    QCOMPARE(events_.filter("a3"), (QStringList{"unverified a3 0 ff 0", "refused a3 0 ff"}));
    QCOMPARE(packetsSent("FF]"), 1);
  }

  void aStrictUpgradeSendsAnAddressAgain() {
    failChecksumOf("FC]", 10);
    QCOMPARE(upgrade(shortImage(), strict()).outcome, UpgradeOutcome::kDone);
    QCOMPARE(events_.filter("refused"), QStringList("refused a2 0 fc"));
    QCOMPARE(packetsSent("FC]"), 2);
  }

  // The checksum read back belongs to the equal packet before it.
  void aPacketThatWasNotTransferredIsNotProvenByTheOneBefore() {
    const Image zeros(128);
    for (const bool isStrict : {false, true}) {
      startMcu("application");
      // Preceded by set boot and reset, ten starts, an address and the first data packet.
      simulator::failCall(kSendOperation, 2 + 10 + 1 + 2, -1);
      const UpgradeResult result = upgrade(zeros, isStrict ? strict() : UpgradeOptions());
      QCOMPARE(result.outcome, isStrict ? UpgradeOutcome::kDataRefused : UpgradeOutcome::kFinishRefused);
      QCOMPARE(events_.contains("repeated a3 0 fd"), !isStrict);
    }
  }

  void aRequestStopsBetweenTwoPackets() {
    for (int packets = 0; packets < 14; ++packets) {
      startMcu("bootLoader");
      int asked = 0;
      UpgradeOptions options;
      options.stopRequested = [&asked, packets] { return asked++ == packets; };
      QCOMPARE(upgrade(shortImage(), options).outcome, UpgradeOutcome::kStopped);
      QCOMPARE(events_.last(), ended(UpgradeOutcome::kStopped));
      QCOMPARE(packetsSent("]"), packets);
      QCOMPARE(upgrade(shortImage()).outcome, UpgradeOutcome::kDone);
      QCOMPARE(int{simulator::mcuFlash().front()}, 2);
    }
  }

  void aRequestBeforeTheResetLeavesTheApplicationRunning() {
    UpgradeOptions options;
    options.stopRequested = [] { return true; };
    QCOMPARE(upgrade(shortImage(), options).outcome, UpgradeOutcome::kStopped);
    QCOMPARE(journalOperations().count(kSendOperation), 0);
    QVERIFY(simulator::mcuRunsApplication());
  }

  void windowTextsOfTheEvents_data() {
    QTest::addColumn<QStringList>("shown");
    QTest::addColumn<QStringList>("expected");
    const auto row = [](const char* name, const UpgradeEvent& event, const QStringList& expected) {
      QTest::newRow(name) << windowTexts(event) << expected;
    };
    row("begun", UpgradeBegun{}, {"Start..."});
    row("found", McuFound{0x32, false, 3}, {});
    row("entered", BootLoaderEntered{12}, {"MCU into boot", "Update Count12..."});
    row("step", StepBegun{UpgradeStep::kStart}, {});
    row("start refused", PacketRefused{{BootCommand::kStart, 3, 0xFB}}, {"3Error MCU checksum...[1]"});
    row("address refused", PacketRefused{{BootCommand::kAddress, 0, 86}}, {"0Error MCU Addr checksum...[2] 86"});
    row("data refused", PacketRefused{{BootCommand::kData, 0, 1}}, {"Error MCU data checksum...[fail]"});
    row("finish refused", PacketRefused{{BootCommand::kFinish, 4, 0xFE}}, {"Error MCU Addr checksum...[3]"});
    row("unverified", PacketUnverified{{BootCommand::kData, 0, 0xFF}, true}, {});
    row("repeated", ChecksumRepeated{{BootCommand::kData, 0, 0xFD}}, {});
    row("first block", BlockSent{0, 3}, {"Update 0%..."});
    row("last block", BlockSent{2, 3}, {"Update 66%..."});
    const auto end = [&row](const char* name, UpgradeOutcome outcome, const QStringList& expected) {
      row(name, UpgradeEnded{outcome}, expected);
    };
    end("done", UpgradeOutcome::kDone, {"MCU Update Done...[Success]"});
    end("no image", UpgradeOutcome::kNoImage, {"Error No file...[fail]"});
    end("not connected", UpgradeOutcome::kNotConnected, {});
    end("no known MCU", UpgradeOutcome::kNoKnownMcu, {});
    end("reset", UpgradeOutcome::kResetFailed, {"Error Reset MCU ..."});
    end("set boot", UpgradeOutcome::kSetBootFailed, {"Error set boot mode ..."});
    end("not ready", UpgradeOutcome::kNotReady, {"Error MCU status...[fail]"});
    end("starts refused", UpgradeOutcome::kStartRefused, {});
    end("addresses refused", UpgradeOutcome::kAddressRefused, {});
    end("all data refused", UpgradeOutcome::kDataRefused, {});
    end("finishes refused", UpgradeOutcome::kFinishRefused, {});
    end("stopped", UpgradeOutcome::kStopped, {});
  }

  void windowTextsOfTheEvents() {
    QFETCH(QStringList, shown);
    QFETCH(QStringList, expected);
    QCOMPARE(shown, expected);
  }

 private:
  static void startMcu(const char* mode) {
    const std::string error =
        simulator::loadScenario(std::string(R"({"externalMcu": {"family": "v", "mode": ")") + mode + "\"}}");
    QVERIFY2(error.empty(), error.c_str());
    simulator::useVirtualTime();
    QCOMPARE(initialize(), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
    QCOMPARE(openPort(), 0);
    simulator::clearJournal();
  }

  static UpgradeOptions strict() {
    UpgradeOptions options;
    options.requireChecksum = true;
    return options;
  }

  UpgradeResult upgrade(const Image& image, const UpgradeOptions& options = {}, bool connected = true) {
    events_.clear();
    return upgradeExtMcu(
        image, connected, [](std::chrono::milliseconds time) { simulator::advanceTime(time); },
        [this](const UpgradeEvent& event) {
          events_ << std::visit([](const auto& concrete) { return textOf(concrete); }, event);
        },
        options);
  }

  /// Makes the first `count` checksum reads after the first packet with this end fail,
  /// in the next upgrade with `shortImage`.
  void failChecksumOf(const std::string& packetEnd, unsigned count) {
    startMcu("application");
    upgrade(shortImage());
    unsigned reads = 0;
    bool sent = false;
    for (const simulator::JournalEntry& call : simulator::journal()) {
      sent = sent || (call.operation == kSendOperation && call.arguments.ends_with(packetEnd));
      reads += call.operation == kGetOperation ? 1 : 0;
      if (sent && call.operation == kGetOperation) {
        break;
      }
    }
    QVERIFY(sent);
    startMcu("application");
    simulator::failCall(kGetOperation, reads, -1, count);
  }

  static int packetsSent(const std::string& end) {
    const std::vector<simulator::JournalEntry> calls = simulator::journal();
    return static_cast<int>(std::count_if(calls.begin(), calls.end(), [&end](const simulator::JournalEntry& call) {
      return call.operation == kSendOperation && call.arguments.starts_with("3, 0x43, 68, ") &&
             call.arguments.ends_with(end);
    }));
  }

  QStringList events_;
};

QTEST_APPLESS_MAIN(UpgradeEventsTest)
#include "upgrade_events_test.moc"
