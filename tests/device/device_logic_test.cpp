#include "device/bytes.h"
#include "device/text.h"

#include <QTest>

#include <array>

class DeviceLogicTest : public QObject {
  Q_OBJECT

 private slots:
  void numbersAreLittleEndian() {
    constexpr std::array<std::uint8_t, 5> bytes{0x11, 0xFF, 0x80, 0x00, 0xF0};
    QCOMPARE(int{device::readU16le(bytes, 0)}, 0xFF11);
    QCOMPARE(int{device::readU16le(bytes, 3)}, 0xF000);
    QCOMPARE(device::readU32le(bytes, 0), 0x0080FF11U);
    QCOMPARE(device::readU32le(bytes, 1), 0xF00080FFU);
  }

  void textEndsAtTheFirstNulOrAtTheBuffer() {
    const std::array<std::uint8_t, 6> bytes{'a', 0xC3, 0xA9, 0, 'x', 'y'};
    QCOMPARE(device::utf8Text(bytes), QString::fromUtf8("a\xC3\xA9"));
    QCOMPARE(device::latin1Text(bytes), QString::fromLatin1("a\xC3\xA9"));
    QCOMPARE(device::latin1Text(std::span(bytes).first(2)), QString::fromLatin1("a\xC3"));
    QCOMPARE(device::latin1Text(std::span(bytes).subspan(3)), "");
    QCOMPARE(device::utf8Text({}), "");
  }
};

QTEST_APPLESS_MAIN(DeviceLogicTest)
#include "device_logic_test.moc"
