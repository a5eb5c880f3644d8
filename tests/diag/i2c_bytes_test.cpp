#include "diag/i2c_bytes.h"

#include "device/hex.h"

#include <QTest>

class I2cBytesTest : public QObject {
  Q_OBJECT

 private slots:
  void aFieldIsHexadecimalOrCountsAsZero_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<quint32>("value");
    QTest::newRow("digits") << "1a2B" << 0x1A2BU;
    QTest::newRow("zeros in front") << "0012" << 0x12U;
    QTest::newRow("prefix") << "0x50" << 0x50U;
    QTest::newRow("prefix in capitals") << "0XfF" << 0xFFU;
    QTest::newRow("blanks around") << " \t A0 " << 0xA0U;
    QTest::newRow("blank inside") << "A 0" << 0U;
    QTest::newRow("largest") << "FFFFFFFF" << 0xFFFFFFFFU;
    QTest::newRow("one more") << "100000000" << 0U;
    QTest::newRow("zeros beyond 32 bits") << "0000000000FF" << 0xFFU;
    QTest::newRow("negative") << "-1" << 0U;
    QTest::newRow("letters") << "zz" << 0U;
    QTest::newRow("suffix") << "10h" << 0U;
    QTest::newRow("prefix alone") << "0x" << 0U;
    QTest::newRow("empty") << "" << 0U;
    QTest::newRow("blanks alone") << "  " << 0U;
  }

  void aFieldIsHexadecimalOrCountsAsZero() {
    QFETCH(QString, text);
    QFETCH(quint32, value);
    QCOMPARE(device::hexOrZero(text), value);
  }

  void aSlaveAddressDropsTheLowestBit() {
    for (std::uint32_t address = 0; address <= 0xFF; ++address) {
      QVERIFY(diag::slaveAddress(address) == static_cast<std::uint8_t>(address / 2));
    }
    for (const std::uint32_t address : {0x100U, 0x1A0U, 0xFFFFU, 0xFFFFFFFFU}) {
      QVERIFY(!diag::slaveAddress(address));
    }
  }

  void aNumberTakesAsFewBytesAsHoldIt_data() {
    QTest::addColumn<quint32>("value");
    QTest::addColumn<QByteArray>("bytes");
    const auto row = [](quint32 value, const char* bytes) { QTest::newRow(bytes) << value << QByteArray(bytes); };
    row(0, "00");
    row(1, "01");
    row(0xFF, "ff");
    row(0x100, "0100");
    row(0xFFFF, "ffff");
    row(0x10000, "010000");
    row(0xFFFFFF, "ffffff");
    row(0x1000000, "01000000");
    row(0x12345678, "12345678");
    row(0xFFFFFFFF, "ffffffff");
  }

  void aNumberTakesAsFewBytesAsHoldIt() {
    QFETCH(quint32, value);
    QFETCH(QByteArray, bytes);
    QCOMPARE(diag::bigEndianBytes(value).toHex(), bytes);
  }

  void bytesReadAreANumberOfTwoDigitsEach_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    for (const char* text : {"05", "00", "12AB", "000001", "FFFFFFFF", "00000000", "DEADBEEF"}) {
      QTest::newRow(text) << QByteArray::fromHex(text) << text;
    }
  }

  void bytesReadAreANumberOfTwoDigitsEach() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    QCOMPARE(diag::hexNumber(bytes), text);
  }
};

QTEST_APPLESS_MAIN(I2cBytesTest)
#include "i2c_bytes_test.moc"
