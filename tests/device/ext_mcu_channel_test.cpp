#include "device/ext_mcu_channel.h"

#include "device/RTICE_SDK_x64.h"
#include "device/boot_packet.h"
#include "simulator/control/control.h"
#include "tests/support/call_check.h"
#include "tests/support/journal.h"

#include <QTest>

#include <climits>
#include <numeric>
#include <vector>

using device::BootCommand;
using device::BootPacket;

namespace {

constexpr char kSend[] = "AT_System_Send_ExternalMCU_cmd";
constexpr char kGet[] = "AT_System_Get_ExternalMCU_cmd";

// Zeros except for the given bytes.
BootPacket expectedPacket(std::uint8_t command, std::initializer_list<std::uint8_t> payload, std::uint8_t checksum) {
  BootPacket packet{0x00, 0x5A, command};
  std::copy(payload.begin(), payload.end(), packet.begin() + 3);
  packet.back() = checksum;
  return packet;
}

}  // namespace

class ExtMcuChannelTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { openNewDevice(); }

  void packetsWithoutPayloadHaveTheirFixedChecksums() {
    QVERIFY(device::bootPacket(BootCommand::kStart) == expectedPacket(0xA1, {}, 0xFB));
    QVERIFY(device::bootPacket(BootCommand::kFinish) == expectedPacket(0xA4, {}, 0xFE));
  }

  void anAddressGoesMostSignificantByteFirst() {
    QVERIFY(device::bootAddressPacket(0x08005000) == expectedPacket(0xA2, {0x08, 0x00, 0x50, 0x00}, 0x54));
    QVERIFY(device::bootAddressPacket(0) == expectedPacket(0xA2, {}, 0xFC));
    QVERIFY(device::bootAddressPacket(0xFEDCBA98) == expectedPacket(0xA2, {0xFE, 0xDC, 0xBA, 0x98}, 0x28));
  }

  void aShortPayloadIsPaddedAndTheChecksumWraps() {
    QVERIFY(device::bootPacket(BootCommand::kData, std::array<std::uint8_t, 3>{1, 2, 0xFF}) ==
            expectedPacket(0xA3, {1, 2, 0xFF}, 0xFF));
    std::array<std::uint8_t, 64> full{};
    full.fill(0xFF);
    const BootPacket packet = device::bootPacket(BootCommand::kData, full);
    QCOMPARE(int{packet[2]}, 0xA3);
    QVERIFY(std::equal(full.begin(), full.end(), packet.begin() + 3));
    QCOMPARE(int{device::checksumOf(packet)}, 0xBD);  // FD - 64
  }

  void anOperationIsOneTransfer() {
    QCOMPARE(device::readRegisterByte(3, 0x0D, 0x02), 0x12U);
    QVERIFY(device::writeRegisterByte(3, 0x0D, 0x10, 0xAB));
    std::array<std::uint8_t, 3> block{};
    QVERIFY(device::readRegisterBlock(3, 0x0D, 0x02, block));
    QCOMPARE(int{block[0]}, 0x12);
    QVERIFY(device::writeRegisterBlock(3, 0x0D, std::array<std::uint8_t, 4>{0x20, 1, 2, 3}));
    QCOMPARE(journalCalls(), (QStringList{"AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, [02], 1)",
                                          "AT_System_Send_ExternalMCU_cmd(3, 0x0D, 2, [10 AB])",
                                          "AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, [02], 3)",
                                          "AT_System_Send_ExternalMCU_cmd(3, 0x0D, 4, [20 01 02 03])"}));
  }

  void aPacketIsAWriteOf68Bytes() {
    device::writeRegisterBlock(3, 0x43, device::bootPacket(BootCommand::kStart));
    QString bytes = "00 5A A1";
    for (int i = 0; i < 64; ++i) {
      bytes += " 00";
    }
    QCOMPARE(journalCalls(), QStringList("AT_System_Send_ExternalMCU_cmd(3, 0x43, 68, [" + bytes + " FB])"));
  }

  void everyStatusButZeroIsAFailure() {
    std::array<std::uint8_t, 2> block{};
    unsigned call = 0;
    for (const std::int32_t status : {1, -1, INT_MIN, INT_MAX}) {
      simulator::failCall(kGet, 2 * call + 1, status, 2);
      simulator::failCall(kSend, 2 * call + 1, status, 2);
      ++call;
      QCOMPARE(device::readRegisterByte(3, 0x0D, 0x02), 0xFFFFFFFFU);
      QVERIFY(!device::readRegisterBlock(3, 0x0D, 0x02, block));
      QVERIFY(!device::writeRegisterByte(3, 0x0D, 0x10, 0));
      QVERIFY(!device::writeRegisterBlock(3, 0x0D, block));
    }
    QCOMPARE(device::readRegisterByte(3, 0x0D, 0x02), 0x12U);
  }

  // After a failed call, the buffer's content is ignored.
  void aFailedReadGivesNoByte() {
    simulator::answerCall(kGet, 1, -1, {0x32});
    QCOMPARE(device::readRegisterByte(3, 0x0D, 0x00), 0xFFFFFFFFU);
  }

  void onlyABlockThatTheBusCanCarryIsSent() {
    QVERIFY(!device::writeRegisterBlock(3, 0x0D, {}));
    QVERIFY(!device::writeRegisterBlock(3, 0x0D, std::vector<std::uint8_t>(65536)));
    QCOMPARE(journalCalls(), QStringList());
    device::writeRegisterBlock(3, 0x0D, std::vector<std::uint8_t>(65535));
    QCOMPARE(journalCalls().size(), 1);
  }

  void theChecksumMatchesWhenItReadsBackEqual() {
    for (unsigned value = 0; value < 256; ++value) {
      simulator::answerCall(kGet, value + 1, 0, {static_cast<std::uint8_t>(value)});
      QVERIFY(device::packetChecksumMatches(device::readBootChecksum(), static_cast<std::uint8_t>(value)));
    }
    simulator::answerCall(kGet, 257, 0, {0x55});
    QVERIFY(!device::packetChecksumMatches(device::readBootChecksum(), 0x54));
    simulator::answerCall(kGet, 258, 0, {0xFF});
    QVERIFY(device::packetChecksumMatches(device::readBootChecksum(), 0xFF));
    QCOMPARE(journalCalls().last(), "AT_System_Get_ExternalMCU_cmd(3, 0x43, 1, [02], 1)");
  }

  void aFailedChecksumReadMatches0xFFOnly() {
    simulator::failCall(kGet, 1, -1, 0);
    for (unsigned value = 0; value < 256; ++value) {
      QCOMPARE(device::packetChecksumMatches(device::readBootChecksum(), static_cast<std::uint8_t>(value)),
               value == 0xFF);
    }
  }

  void theReadyPollEndsAtTheFirstReadyAnswer_data() {
    QTest::addColumn<int>("busy");
    QTest::addColumn<bool>("ready");
    QTest::newRow("at once") << 0 << true;
    QTest::newRow("second") << 1 << true;
    QTest::newRow("last") << 99 << true;
    QTest::newRow("too late") << 100 << false;
  }

  // All kinds of busy answers: failures, zero, other values.
  void theReadyPollEndsAtTheFirstReadyAnswer() {
    QFETCH(int, busy);
    QFETCH(bool, ready);
    for (int poll = 0; poll < 101; ++poll) {
      const bool fails = poll < busy && poll % 3 == 0;
      const auto answer = static_cast<std::uint8_t>(poll < busy && !fails ? poll % 3 * 0xFE / 2 + 2 : 0x01);
      simulator::answerCall(kGet, static_cast<unsigned>(poll) + 1, fails ? -1 : 0, {answer});
    }
    int pauses = 0;
    const bool found = device::waitForBootLoaderReady([&pauses](std::chrono::milliseconds time) {
      QCOMPARE(time.count(), 5);
      ++pauses;
    });
    QCOMPARE(found, ready);
    QCOMPARE(pauses, busy);
    const QStringList calls = journalCalls();
    QCOMPARE(calls.size(), ready ? busy + 1 : 100);
    QCOMPARE(calls.count("AT_System_Get_ExternalMCU_cmd(3, 0x43, 1, [01], 1)"), calls.size());
  }
};

QTEST_APPLESS_MAIN(ExtMcuChannelTest)
#include "ext_mcu_channel_test.moc"
