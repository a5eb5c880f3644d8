#include "diag/diag_calls.h"

#include "device/hex.h"
#include "tests/support/call_check.h"

using diag::GpioGroup;

namespace {

QByteArray bytes(const char* hexadecimal) { return QByteArray::fromHex(hexadecimal); }

}  // namespace

class DiagCallsTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { openNewDevice(); }

  void eachIsOneCallAndPassesItsStatusOn() {
    checkCall({"AT_System_Get_ExternalMCU_cmd(3, 0x50, 2, [01 00], 4)",
               [] { return statusOfCall(diag::readRegister(0x50, bytes("0100"), 4)); }});
    checkCall({"AT_System_Send_ExternalMCU_cmd(3, 0x50, 3, [01 00 AB])",
               [] { return device::statusOf(diag::writeRegister(0x50, bytes("0100"), bytes("AB"))); }});
    checkCall({"AT_GPIO_Get_Param(0, 3)", [] { return statusOfCall(diag::readPin(GpioGroup::kIso, 3)); }});
    checkCall({"AT_GPIO_Get_Param(1, 13)", [] { return statusOfCall(diag::readPin(GpioGroup::kMisc, 13)); }});
    checkCall(
        {"AT_GPIO_Set_Param(1, 0, 255)", [] { return device::statusOf(diag::writePin(GpioGroup::kMisc, 0, 255)); }});
  }

  void theRequestedNumberOfBytesIsRead() {
    for (const int count : {1, 2, 3, 4, 256}) {
      QCOMPARE(diag::readRegister(0x50, bytes("0000"), count)->size(), count);
    }
    simulator::answerCall("AT_System_Get_ExternalMCU_cmd", 6, 0, {0x12, 0xAB, 0xFF});
    QCOMPARE(*diag::readRegister(0x0D, bytes("02"), 2), bytes("12AB"));
  }

  void writesTooLongForTheBusAreNotSent() {
    QCOMPARE(device::statusOf(diag::writeRegister(0x50, bytes("00"), QByteArray(65535, 'x'))), device::kNotCalled);
    QCOMPARE(device::statusOf(diag::writeRegister(0x50, QByteArray(), QByteArray())), device::kNotCalled);
    QCOMPARE(journalCalls(), QStringList());
  }

  void aPinReadsWhatItIsSetTo() {
    for (const GpioGroup group : {GpioGroup::kIso, GpioGroup::kMisc}) {
      for (std::uint8_t pin = 0; pin < diag::kPinCount; ++pin) {
        simulator::setGpioPin(static_cast<std::uint8_t>(group), pin, static_cast<std::uint8_t>(100 + pin));
        QCOMPARE(int{*diag::readPin(group, pin)}, 100 + pin);
      }
    }
  }

  void onlyAWholeNumberIsHexadecimal() {
    QVERIFY(device::parseHex(" 0x1F ") == 0x1FU);
    QVERIFY(device::parseHex("FFFFFFFF") == 0xFFFFFFFFU);
    for (const char* const text : {"", " ", "zz", "10h", "-1", "0x", "1 2", "100000000"}) {
      QVERIFY2(!device::parseHex(text), text);
      QCOMPARE(device::hexOrZero(text), 0U);
    }
  }
};

QTEST_APPLESS_MAIN(DiagCallsTest)
#include "diag_calls_test.moc"
