#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/support/journal.h"
#include "tests/support/window_fixture.h"

#include <QRadioButton>
#include <QTest>

using namespace std::chrono_literals;

class I2cPageTest : public WindowTest {
  Q_OBJECT

  void type(const QString& address, const QString& registerNumber) const {
    user.widget<QLineEdit>("lineEdit_I2C_Addr").setText(address);
    user.widget<QLineEdit>("lineEdit_I2C_Reg").setText(registerNumber);
  }

  /// Presses Read with the given width.
  /// @return the value shown, or the message of a failure
  QString read(const QString& address, const QString& registerNumber, int width) const {
    type(address, registerNumber);
    valueField().clear();
    user.widget<QLabel>("LB_Message").clear();
    user.widget<QRadioButton>(QStringLiteral("RB_I2C_Read_%1B").arg(width)).setChecked(true);
    user.click("BN_I2C_Read");
    return valueField().text() + user.message();
  }

  QString write(const QString& address, const QString& registerNumber, const QString& text) const {
    type(address, registerNumber);
    valueField().setText(text);
    user.widget<QLabel>("LB_Message").clear();
    user.click("BN_I2C_Write");
    return user.message();
  }

  QLineEdit& valueField() const { return user.widget<QLineEdit>("lineEdit_I2C_Value"); }

 private slots:
  void init() {
    start();
    connectDevice();
  }

  void aWriteSendsRegisterAndValueByMagnitude_data() {
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("registerNumber");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("arguments");
    const auto row = [](const char* address, const char* registerNumber, const char* value, const char* arguments) {
      QTest::newRow(qPrintable(QStringLiteral("[%1][%2][%3]").arg(address, registerNumber, value)))
          << address << registerNumber << value << arguments;
    };
    row("A0", "0", "0", "3, 0x50, 2, [00 00]");
    row("A1", "0", "0", "3, 0x50, 2, [00 00]");
    row("A0", "10", "1234", "3, 0x50, 3, [10 12 34]");
    row("A0", "0012", "0034", "3, 0x50, 2, [12 34]");
    row("A0", "FF", "FF", "3, 0x50, 2, [FF FF]");
    row("A0", "100", "100", "3, 0x50, 4, [01 00 01 00]");
    row("A0", "FFFF", "FFFF", "3, 0x50, 4, [FF FF FF FF]");
    row("A0", "10000", "10000", "3, 0x50, 6, [01 00 00 01 00 00]");
    row("A0", "FFFFFF", "FFFFFF", "3, 0x50, 6, [FF FF FF FF FF FF]");
    row("A0", "1000000", "1000000", "3, 0x50, 8, [01 00 00 00 01 00 00 00]");
    row("A0", "FFFFFFFF", "FFFFFFFF", "3, 0x50, 8, [FF FF FF FF FF FF FF FF]");
    row("A0", "FF", "100", "3, 0x50, 3, [FF 01 00]");
    row("A0", "100000000", "100000000", "3, 0x50, 2, [00 00]");
    row("0xa0", " 0x1F ", "0xBEEF", "3, 0x50, 3, [1F BE EF]");
    row("zz", "zz", "zz", "3, 0x00, 2, [00 00]");
    row("", "", "", "3, 0x00, 2, [00 00]");
    row("FF", "1", "1", "3, 0x7F, 2, [01 01]");
    row("0", "1", "1", "3, 0x00, 2, [01 01]");
  }

  void aWriteSendsRegisterAndValueByMagnitude() {
    QFETCH(QString, address);
    QFETCH(QString, registerNumber);
    QFETCH(QString, value);
    QFETCH(QString, arguments);
    for (int width = 1; width <= 4; ++width) {
      // The width applies to reads only.
      user.widget<QRadioButton>(QStringLiteral("RB_I2C_Read_%1B").arg(width)).setChecked(true);
      simulator::clearJournal();
      simulator::answerCall("AT_System_Send_ExternalMCU_cmd", static_cast<unsigned>(width), 0, {});
      QCOMPARE(write(address, registerNumber, value), "I2C Write Done");
      QCOMPARE(journalCalls(), QStringList{"AT_System_Send_ExternalMCU_cmd(" + arguments + ")"});
      QCOMPARE(valueField().text(), value);
    }
  }

  void aReadSendsTheRegisterAndShowsTheValue_data() {
    QTest::addColumn<QString>("registerNumber");
    QTest::addColumn<int>("width");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("shown");
    const auto row = [](const char* registerNumber, int width, const char* answer, const char* arguments) {
      QTest::newRow(qPrintable(QStringLiteral("[%1] %2").arg(registerNumber, answer)))
          << registerNumber << width << QByteArray::fromHex(answer) << arguments << answer;
    };
    row("0", 1, "05", "3, 0x50, 1, [00], 1");
    row("0", 1, "00", "3, 0x50, 1, [00], 1");
    row("0012", 2, "12AB", "3, 0x50, 1, [12], 2");
    row("FF", 3, "000001", "3, 0x50, 1, [FF], 3");
    row("100", 4, "FFFFFFFF", "3, 0x50, 2, [01 00], 4");
    row("FFFF", 4, "00000000", "3, 0x50, 2, [FF FF], 4");
    row("10000", 4, "7FFFFFFF", "3, 0x50, 3, [01 00 00], 4");
    row("FFFFFF", 4, "80000000", "3, 0x50, 3, [FF FF FF], 4");
    row("1000000", 1, "FF", "3, 0x50, 4, [01 00 00 00], 1");
    row("FFFFFFFF", 2, "0A0D", "3, 0x50, 4, [FF FF FF FF], 2");
    row("", 2, "1A00", "3, 0x50, 1, [00], 2");
  }

  void aReadSendsTheRegisterAndShowsTheValue() {
    QFETCH(QString, registerNumber);
    QFETCH(int, width);
    QFETCH(QByteArray, answer);
    QFETCH(QString, arguments);
    QFETCH(QString, shown);
    // The session's first read is the MCU's version.
    simulator::answerCall("AT_System_Get_ExternalMCU_cmd", 2, 0, {answer.begin(), answer.end()});
    QCOMPARE(read("A1", registerNumber, width), shown);
    QCOMPARE(journalCalls(), QStringList{"AT_System_Get_ExternalMCU_cmd(" + arguments + ")"});
  }

  void aReadIsOfOneByteUnlessAWidthIsChosen() {
    type("A0", "0");
    user.click("BN_I2C_Read");
    QCOMPARE(journalCalls(), QStringList{"AT_System_Get_ExternalMCU_cmd(3, 0x50, 1, [00], 1)"});
    QCOMPARE(valueField().text(), "4B");
  }

  void anAddressAboveEightBitsIsRefused() {
    for (const char* address : {"100", "0x1A0", "FFFFFFFF"}) {
      QCOMPARE(write(address, "0", "12"), "Error Address...[Fail]");
      QCOMPARE(valueField().text(), "12");
      QCOMPARE(read(address, "0", 1), "Error Address...[Fail]");
    }
    QCOMPARE(journalCalls(), QStringList());
  }

  void aFailedTransferLeavesTheValue() {
    valueField().setText("old");
    type("20", "0");
    user.click("BN_I2C_Read");
    QCOMPARE(user.message(), "I2C Error");
    QCOMPARE(valueField().text(), "old");
    QCOMPARE(write("20", "0", "1"), "I2C Error");
    // An empty address is the general call address, which no chip here answers.
    QCOMPARE(write("", "0", "1"), "I2C Error");
    QCOMPARE(simulator::journal().back().result, simulator::kNoAnswer);
    unsigned writes = 2;
    unsigned reads = 2;
    for (const std::int32_t status : {1, -1}) {
      simulator::failCall("AT_System_Send_ExternalMCU_cmd", ++writes, status);
      simulator::failCall("AT_System_Get_ExternalMCU_cmd", ++reads, status);
      QCOMPARE(write("A0", "0", "1"), "I2C Error");
      QCOMPARE(read("A0", "0", 1), "I2C Error");
    }
  }

  void withoutASessionTheLibraryRefuses() {
    start();
    user.click("BN_I2C_Read");
    QCOMPARE(user.message(), "I2C Error");
    user.click("BN_I2C_Write");
    QCOMPARE(user.message(), "I2C Error");
    QCOMPARE(journalCalls(), (QStringList{"AT_System_Get_ExternalMCU_cmd(3, 0x00, 1, [00], 1)",
                                          "AT_System_Send_ExternalMCU_cmd(3, 0x00, 2, [00 00])"}));
  }

  void aTransferIsLoggedInTheDebugOutput() {
    QTest::ignoreMessage(QtDebugMsg, "Reg: 01 00");
    QTest::ignoreMessage(QtDebugMsg, "Val: 12 34");
    write("A0", "100", "1234");
    QTest::ignoreMessage(QtDebugMsg, "Reg: 01 00");
    QTest::ignoreMessage(QtDebugMsg, "I2C: wr len 2");
    read("A0", "100", 1);
  }

  void theEepromWithOneAddressByteIsReadAndWritten() {
    QCOMPARE(read("A0", "0", 4), "4B565220");  // "KVR "
    QCOMPARE(read("A0", "4", 3), "424F41");
    QCOMPARE(write("A0", "80", "DEADBEEF"), "I2C Write Done");
    // The chip is still programming the page.
    QCOMPARE(read("A0", "80", 4), "I2C Error");
    simulator::advanceTime(5ms - 1ns);
    QCOMPARE(write("A0", "80", "1"), "I2C Error");
    simulator::advanceTime(1ns);
    QCOMPARE(read("A0", "80", 4), "DEADBEEF");
    QCOMPARE(read("A1", "82", 2), "BEEF");

    // A write wraps around within its page, a read at the end of the chip.
    QCOMPARE(write("A0", "FE", "11223344"), "I2C Write Done");
    simulator::advanceTime(5ms);
    const std::vector<std::uint8_t> content = simulator::eepromContent(0x50);
    QCOMPARE(content.size(), std::size_t{256});
    QCOMPARE((std::vector(content.begin() + 0xF8, content.end())),
             (std::vector<std::uint8_t>{0x33, 0x44, 0xFF, 0xFF, 0xFF, 0xFF, 0x11, 0x22}));
    QCOMPARE(read("A0", "FF", 3), "224B56");

    // A two-byte register number is an address and a data byte; a read does not program it.
    QCOMPARE(read("A0", "8000", 1), "AD");
    QCOMPARE(simulator::eepromContent(0x50), content);
  }

  void theEepromWithTwoAddressBytesIsReadAndWritten() {
    QCOMPARE(read("A8", "100", 4), "4B565220");
    QCOMPARE(write("A8", "1FFE", "0A0D1A"), "I2C Write Done");
    simulator::advanceTime(5ms);
    QCOMPARE(read("A8", "1FFE", 2), "0A0D");
    QCOMPARE(read("A8", "1FE0", 1), "1A");
    const std::vector<std::uint8_t> before = simulator::eepromContent(0x54);
    QCOMPARE(before.size(), std::size_t{8192});

    // A one-byte register number is not a complete address.
    QCOMPARE(write("A8", "12", "34"), "I2C Write Done");
    QCOMPARE(simulator::eepromContent(0x54), before);
    simulator::programEeprom(0x54, 0x1234, {0x56});
    QCOMPARE(read("A8", "1234", 1), "56");
  }

  void everyAddressOfBothEepromsIsReached() {
    std::vector<std::uint8_t> content(8192);
    for (std::size_t i = 0; i < content.size(); ++i) {
      content[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    }
    simulator::programEeprom(0x54, 0, content);
    simulator::programEeprom(0x50, 0, content);
    const auto expected = [&](unsigned address) {
      return QStringLiteral("%1").arg(content[address], 2, 16, QLatin1Char('0')).toUpper();
    };
    for (unsigned address = 0; address < 256; ++address) {
      QCOMPARE(read("A0", QString::number(address, 16), 1), expected(address));
    }
    for (unsigned address = 256; address < 8192; address += 5) {
      QCOMPARE(read("A8", QString::number(address, 16), 1), expected(address));
    }
  }

  void theSensorHasRegistersOfTwoBytes() {
    QCOMPARE(read("90", "0", 2), "2A40");
    QCOMPARE(read("91", "0", 1), "2A");
    QCOMPARE(read("90", "0", 4), "2A402A40");
    QCOMPARE(write("90", "3", "1234"), "I2C Write Done");
    QCOMPARE(read("90", "3", 2), "1234");
    // The value is sent as one byte, which is half a register.
    QCOMPARE(write("90", "3", "0056"), "I2C Write Done");
    QCOMPARE(read("90", "3", 2), "1234");
    QCOMPARE(write("90", "0", "1234"), "I2C Write Done");
    QCOMPARE(read("90", "0", 2), "2A40");
    QCOMPARE(read("90", "4", 2), "I2C Error");
    QCOMPARE(write("90", "4", "1234"), "I2C Error");
  }

  void theMcusOwnRegistersAreRead() {
    QCOMPARE(read("1A", "2", 1), "12");
    QCOMPARE(read("1A", "0", 1), "32");
    QCOMPARE(read("86", "0", 1), "I2C Error");
  }

  void aRestartForgetsNoEeprom() {
    QCOMPARE(write("A0", "40", "99"), "I2C Write Done");
    QCOMPARE(write("90", "2", "1234"), "I2C Write Done");
    simulator::advanceTime(5ms);
    simulator::unplug();
    QCOMPARE(read("A0", "40", 1), "I2C Error");
    simulator::replug();
    QCOMPARE(read("A0", "40", 1), "99");
    QCOMPARE(read("90", "2", 2), "4B00");
  }
};

QTEST_MAIN(I2cPageTest)
#include "i2c_page_test.moc"
