#include "edid/edid_calls.h"

#include "tests/support/call_check.h"

#include <array>

using edid::TableSize;

class EdidCallsTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { openNewDevice(); }

  void eachIsOneCallAndPassesItsStatusOn() {
    checkCall({"AT_EDID_Get_EDID_mode()", [] { return statusOfCall(edid::readMode()); }});
    checkCall({"AT_EDID_Set_EDID_mode(3)", [] { return device::statusOf(edid::setMode(3)); }});
    checkCall({"AT_EDID_Flash_Get_Default_table()", [] { return statusOfCall(edid::readDefaultSlot()); }});
    checkCall({"AT_EDID_Flash_Set_Default_table(6)", [] { return device::statusOf(edid::setDefaultSlot(6)); }});
    checkCall(
        {"AT_EDID_Flash_Get_table(5, 384)", [] { return statusOfCall(edid::readFlashTable(5, TableSize::k384)); }});
    checkCall({"AT_EDID_Flash_Set_table(4, [01 02], 2)", [] {
                 return device::statusOf(edid::writeFlashTable(4, std::array<std::uint8_t, 2>{1, 2}));
               }});
    checkCall({"AT_EDID_Get_TX_table(256)", [] { return statusOfCall(edid::readSinkTable(TableSize::k256)); }});
    checkCall({"AT_EDID_DDC_Get_RX_table(512)", [] { return statusOfCall(edid::readDdcTable(TableSize::k512)); }});
  }

  void aTableHasTheRequestedLength() {
    for (const TableSize size : {TableSize::k256, TableSize::k384, TableSize::k512}) {
      const int bytes = static_cast<int>(size);
      QCOMPARE(edid::readFlashTable(0, size)->size(), bytes);
      QCOMPARE(edid::readSinkTable(size)->size(), bytes);
      QCOMPARE(edid::readDdcTable(size)->size(), bytes);
    }
  }

  void aTableThatWasWrittenIsReadBack() {
    std::vector<std::uint8_t> table(512);
    for (std::size_t i = 0; i < table.size(); ++i) {
      table[i] = static_cast<std::uint8_t>(i * 7);
    }
    QVERIFY(edid::writeFlashTable(3, table).has_value());
    QCOMPARE(*edid::readFlashTable(3, TableSize::k512),
             QByteArray(reinterpret_cast<const char*>(table.data()), static_cast<int>(table.size())));
  }

  void aTableThatIsTooLongIsNotSent() {
    const std::vector<std::uint8_t> table(513);
    QCOMPARE(device::statusOf(edid::writeFlashTable(3, table)), device::kNotCalled);
    QCOMPARE(journalCalls(), QStringList());
  }

  void modeAndSlotArePassedOn() {
    simulator::answerCall("AT_EDID_Get_EDID_mode", 1, 0, {0xFE});
    simulator::answerCall("AT_EDID_Flash_Get_Default_table", 1, 0, {0xFD});
    QCOMPARE(int{*edid::readMode()}, 0xFE);
    QCOMPARE(int{*edid::readDefaultSlot()}, 0xFD);
  }
};

QTEST_APPLESS_MAIN(EdidCallsTest)
#include "edid_calls_test.moc"
