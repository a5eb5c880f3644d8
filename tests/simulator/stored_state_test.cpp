#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/i2c_calls.h"
#include "tests/simulator/operation_table.h"
#include "tests/support/test_files.h"
#include "tests/support/upgrade_reference.h"

#include <QDateTime>
#include <QRegularExpression>

#include <chrono>
#include <memory>

using upgrade_reference::addressPacket;
using upgrade_reference::packet;
using namespace std::chrono_literals;

namespace {

constexpr quint64 kPage = 1024;
constexpr quint64 kLargestImage = 16 * kPage * kPage;
const QByteArray kMagic = "Pellavox simulated device 1\n";

/// Parts of the state as the file numbers them.
enum Part {
  kModel = 1,
  kEnd,
  kClock,
  kSettings,
  kProvisioning,
  kEdidSlot,
  kMcu,
  kMcuFlash,
  kCaptureChip,
  kCaptureFlash,
  kBoardEeprom,
  kCalibrationEeprom,
};

QByteArray number(quint64 value, int size) {
  QByteArray bytes;
  for (int i = 0; i < size; ++i) {
    bytes += static_cast<char>(value >> (8 * i) & 0xFFU);
  }
  return bytes;
}

quint32 numberIn(const QByteArray& bytes, int offset, int size) {
  quint32 value = 0;
  for (int i = size - 1; i >= 0; --i) {
    value = value << 8 | static_cast<unsigned char>(bytes[offset + i]);
  }
  return value;
}

/// CRC-32 as of Ethernet, bit by bit.
quint32 crc32(const QByteArray& bytes) {
  quint32 sum = 0xFFFFFFFF;
  for (const char byte : bytes) {
    sum ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit) {
      sum = sum >> 1 ^ ((sum & 1U) != 0 ? 0xEDB88320U : 0U);
    }
  }
  return ~sum;
}

QByteArray record(int part, const QByteArray& bytes, int index = 0) {
  const QByteArray head = number(static_cast<quint64>(part), 1) + number(static_cast<quint64>(index), 2) +
                          number(static_cast<quint64>(bytes.size()), 4);
  return head + number(crc32(head), 4) + bytes + number(crc32(bytes), 4);
}

QByteArray textBlock(const QByteArray& text) { return number(static_cast<quint64>(text.size()), 4) + text; }
QByteArray piece(quint64 offset, quint64 size, const QByteArray& bytes) {
  return number(offset, 4) + number(size, 4) + bytes;
}
QByteArray clockBytes(std::chrono::nanoseconds time, qint64 host) {
  return number(static_cast<quint64>(time.count()), 8) + number(static_cast<quint64>(host), 8);
}

/// The records of a file as "part" or "part.index", with the size of their bytes.
QStringList recordsIn(const QByteArray& file) {
  if (!file.startsWith(kMagic)) {
    return {"no state file"};
  }
  QStringList records;
  for (int at = kMagic.size(); at < file.size();) {
    const int size = static_cast<int>(numberIn(file, at + 3, 4));
    if (numberIn(file, at + 7, 4) != crc32(file.mid(at, 7)) ||
        numberIn(file, at + 11 + size, 4) != crc32(file.mid(at + 11, size))) {
      return {"wrong checksum"};
    }
    const quint32 index = numberIn(file, at + 1, 2);
    records << QString::number(static_cast<unsigned char>(file[at])) +
                   (index != 0 ? QStringLiteral(".%1").arg(index) : "") + QStringLiteral(": %1").arg(size);
    at += 15 + size;
  }
  return records;
}

std::string serialNumber() {
  std::array<std::uint8_t, 101> text{};
  std::uint32_t length = 0;
  return AT_USB_Get_SerialNum(text.data(), 100, &length) == 0 ? reinterpret_cast<const char*>(text.data()) : "failed";
}

}  // namespace

/// The state file's format, which later versions must still read.
class StoredStateTest : public QObject {
  Q_OBJECT

  std::unique_ptr<TestFiles> files_;

  QByteArray content() const { return contentOf(files_->path("state")); }
  std::string scenario(const char* more = "") const {
    return "{\"stateFile\": \"" + files_->path("state").toStdString() + "\"" + more + "}";
  }
  std::int32_t start(const char* more = "") const {
    if (!simulator::loadScenario(scenario(more)).empty()) {
      qFatal("a scenario is wrong");
    }
    simulator::useVirtualTime();
    return initialize();
  }
  void open(const char* more = "") const {
    QCOMPARE(start(more), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
    QCOMPARE(openPort(), 0);
  }
  void writeState(const QByteArray& records) const {
    files_->write("state", kMagic + record(kModel, textBlock("KVR-7 with MCU family 2")) + records + record(kEnd, ""));
  }

 private slots:
  void init() {
    simulator::reset();
    files_ = std::make_unique<TestFiles>();
  }
  void cleanup() { simulator::reset(); }

  void aNewDevicesFileHoldsItsModelAndClockAlone() {
    QCOMPARE(crc32("123456789"), 0xCBF43926U);  // the published check value
    open();
    QCOMPARE(recordsIn(content()), (QStringList{"1: 27", "3: 16", "2: 0"}));
    QVERIFY(content().contains(textBlock("KVR-7 with MCU family 2")));
    QVERIFY(start(", \"model\": \"KVR-5B\"") == simulator::kBadState);
  }

  void theFamilyIsNamedAsTheScenarioDoes_data() {
    QTest::addColumn<QByteArray>("code");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("blank") << QByteArray("0x20") << QByteArray("32");
    QTest::newRow("first letter") << QByteArray("0x21") << QByteArray("!");
    QTest::newRow("last letter") << QByteArray("0x7E") << QByteArray("~");
    QTest::newRow("no letter") << QByteArray("0x7F") << QByteArray("127");
  }

  void theFamilyIsNamedAsTheScenarioDoes() {
    QFETCH(QByteArray, code);
    QFETCH(QByteArray, name);
    QCOMPARE(start((", \"externalMcu\": {\"family\": \"" + code + "\"}").constData()), 0);
    QVERIFY(content().contains(record(kModel, textBlock("KVR-7 with MCU family " + name))));
  }

  void aChangeAppendsItsPartAndTheClock() {
    open();
    const auto appended = [this](auto change) {
      const int before = content().size();
      change();
      simulator::advanceTime(10ms);
      return recordsIn(kMagic + content().mid(before));
    };
    const std::vector<std::uint8_t> table(300, 0x33);
    QCOMPARE(appended([] { AT_EDID_Flash_Set_Default_table(3); }), (QStringList{"4: 54", "3: 16"}));
    QCOMPARE(appended([] { AT_EDID_Flash_Set_Default_table(3); }), QStringList());
    QCOMPARE(appended([] { serialNumber(); }), QStringList());
    QCOMPARE(appended([] { AT_USB_Set_SerialNum(reinterpret_cast<const std::uint8_t*>("SN-43"), 5); }),
             (QStringList{"5: 13", "3: 16"}));
    QCOMPARE(appended([&] { AT_EDID_Flash_Set_table(5, table.data(), 300); }), (QStringList{"6.5: 513", "3: 16"}));
    QCOMPARE(appended([] { i2c::write(0x50, {0x10, 0x77}); }), (QStringList{"11: 264", "3: 16"}));
    QCOMPARE(appended([] { i2c::write(0x54, {0x10, 0x10, 0x77}); }), (QStringList{"12: 1032", "3: 16"}));
    QCOMPARE(appended([] { i2c::write(0x0D, {8, 1}); }), (QStringList{"7: 50", "3: 16"}));
    simulator::advanceTime(1s);
    const QByteArray start = packet(0xA1);
    const QByteArray address = addressPacket(0x08005000);
    i2c::write(0x43, i2c::Bytes(start.begin(), start.end()));
    simulator::advanceTime(10ms);
    QCOMPARE(appended([&] { i2c::write(0x43, i2c::Bytes(address.begin(), address.end())); }),
             (QStringList{"7: 50", "8: 9", "3: 16"}));
    // A snapshot holds what differs from a new device: erased pieces as one byte.
    const QStringList all{"1: 27", "4: 54",   "5: 13",    "6.5: 513", "7: 50",
                          "8: 9",  "11: 264", "12: 1032", "3: 16",    "2: 0"};
    open();
    QCOMPARE(recordsIn(content()), all);
  }

  void aBurnStoresItsPieces() {
    open();
    const QByteArray image = QByteArray(5000, 'x') + "V9.99.99" + QByteArray(61'000, 'y');
    QCOMPARE(burnToFlash(files_->write("image", image).toUtf8().constData(), [](float) {}), 0);
    open();
    const QStringList records = recordsIn(content());
    // The chip, then 128 pieces of 1 KiB, of which three are not filled with one byte.
    QCOMPARE(records.size(), 4 + 128);
    QCOMPARE(records[1], "9: 17");
    QCOMPARE(records.filter(QRegularExpression("^10: 9$")).size(), 126);
    QCOMPARE(records.filter(QRegularExpression("^10: 1032$")).size(), 2);
    const std::vector<std::uint8_t> flash = simulator::captureFlash();
    QCOMPARE(QByteArray(reinterpret_cast<const char*>(flash.data()), static_cast<int>(flash.size())),
             image + QByteArray(2 * 64 * 1024 - image.size(), '\xFF'));
  }

  void onlyStatesThatADeviceCanHaveAreTaken_data() {
    QTest::addColumn<QByteArray>("records");
    QTest::addColumn<bool>("good");
    const auto row = [](const QString& name, const QByteArray& records, bool good) {
      QTest::newRow(qPrintable(name)) << records << good;
    };
    constexpr std::chrono::hours kTenYears{24 * 365 * 10};
    row("clock at its start", record(kClock, clockBytes(0ns, 0)), true);
    row("clock before its start", record(kClock, clockBytes(-1ns, 0)), false);
    row("clock after ten years", record(kClock, clockBytes(kTenYears, 0)), true);
    row("clock after more than ten years", record(kClock, clockBytes(kTenYears + 1ns, 0)), false);
    row("clock cut", record(kClock, clockBytes(0ns, 0).left(15)), false);
    row("clock with more", record(kClock, clockBytes(0ns, 0) + '\0'), false);
    // Settings: the offsets of bytes that have few values, and the largest one.
    const QByteArray settings(54, '\0');
    for (const auto& [offset, most] :
         {std::pair(0, 1), std::pair(1, 1), std::pair(2, 1), std::pair(7, 1), std::pair(8, 3), std::pair(9, 6)}) {
      QByteArray bytes = settings;
      bytes[offset] = static_cast<char>(most);
      row(QStringLiteral("setting %1 at most").arg(offset), record(kSettings, bytes), true);
      bytes[offset] = static_cast<char>(most + 1);
      row(QStringLiteral("setting %1 beyond").arg(offset), record(kSettings, bytes), false);
    }
    row("settings cut", record(kSettings, settings.left(53)), false);
    row("settings with more", record(kSettings, settings + '\0'), false);
    const auto provisioning = [](int serial, int key) {
      return record(kProvisioning, textBlock(QByteArray(serial, 's')) + textBlock(QByteArray(key, 'k')));
    };
    row("longest serial number", provisioning(100, 0), true);
    row("serial number too long", provisioning(101, 0), false);
    row("largest key", provisioning(1, 65536), true);
    row("key too large", provisioning(1, 65537), false);
    row("last slot as shipped", record(kEdidSlot, QByteArray(1, '\0'), 6), true);
    row("no such slot", record(kEdidSlot, QByteArray(1, '\0'), 7), false);
    row("slot of another state", record(kEdidSlot, "\2" + QByteArray(512, 'e'), 1), false);
    row("written slot", record(kEdidSlot, "\1" + QByteArray(512, 'e'), 1), true);
    row("slot cut", record(kEdidSlot, "\1" + QByteArray(511, 'e'), 1), false);
    row("slot with more", record(kEdidSlot, "\1" + QByteArray(513, 'e'), 1), false);
    const auto mcu = [](int state, quint64 page, int block) {
      return record(kMcu, QByteArray(2, '\0') + static_cast<char>(state) + number(page, 4) +
                              textBlock(QByteArray(block, 'b')) + QByteArray(7 + 32, '\0'));
    };
    row("last state of the MCU", mcu(4, 0, 0), true);
    row("no state of the MCU", mcu(5, 0, 0), false);
    row("last page", mcu(0, 107 * kPage, 0), true);
    row("no such page", mcu(0, 108 * kPage, 0), false);
    row("amid a page", mcu(0, 1023, 0), false);
    row("largest block", mcu(2, 1024, 1024), true);
    row("block too large", mcu(2, 1024, 1025), false);
    row("whole piece", record(kMcuFlash, piece(107 * kPage, 1024, QByteArray(1024, 'a'))), true);
    row("filled piece", record(kMcuFlash, piece(107 * kPage, 1024, "a")), true);
    row("piece of two bytes", record(kMcuFlash, piece(108 * kPage - 2, 2, "ab")), true);
    row("last byte", record(kMcuFlash, piece(108 * kPage - 1, 1, "a")), true);
    row("empty piece", record(kMcuFlash, piece(0, 0, "a")), false);
    row("piece without bytes", record(kMcuFlash, piece(0, 1, "")), false);
    row("piece too large", record(kMcuFlash, piece(0, 1025, "a")), false);
    row("piece with more", record(kMcuFlash, piece(0, 2, "abc")), false);
    row("piece cut", record(kMcuFlash, piece(0, 3, "ab")), false);
    row("byte with more", record(kMcuFlash, piece(0, 1, "ab")), false);
    row("piece over the end", record(kMcuFlash, piece(108 * kPage - 1, 2, "a")), false);
    row("piece at the end", record(kMcuFlash, piece(108 * kPage, 1, "a")), false);
    row("piece beyond the end", record(kMcuFlash, piece(108 * kPage + 1, 1, "a")), false);
    const auto chip = [](int version, quint64 size) {
      return record(kCaptureChip, "\1" + textBlock(QByteArray(version, 'V')) + number(size, 4));
    };
    row("longest version and largest image", chip(127, kLargestImage), true);
    row("version too long", chip(128, 0), false);
    row("image too large", chip(1, kLargestImage + 1), false);
    row("piece of the capture flash", chip(1, 65536) + record(kCaptureFlash, piece(65535, 1, "a")), true);
    row("piece of an empty capture flash", chip(1, 0) + record(kCaptureFlash, piece(0, 1, "a")), false);
    row("last byte of the board's EEPROM", record(kBoardEeprom, piece(255, 1, "a")), true);
    row("beyond the board's EEPROM", record(kBoardEeprom, piece(256, 1, "a")), false);
    row("last byte of the other EEPROM", record(kCalibrationEeprom, piece(8191, 1, "a")), true);
    row("beyond the other EEPROM", record(kCalibrationEeprom, piece(8192, 1, "a")), false);
    row("no part", record(0, ""), false);
    row("unknown part", record(13, piece(0, 1, "a")), false);
  }

  void onlyStatesThatADeviceCanHaveAreTaken() {
    QFETCH(QByteArray, records);
    QFETCH(bool, good);
    // Behind changes of everything else, which then do not count either.
    writeState(record(kProvisioning, textBlock("SN-1") + textBlock("key")) + record(kBoardEeprom, piece(3, 1, "!")) +
               record(kMcuFlash, piece(9, 1, "!")) + records);
    QCOMPARE(start(), good ? 0 : simulator::kBadState);
    if (!good) {
      QVERIFY(QFile::remove(files_->path("state")));
      openDefaultDevice();
      QCOMPARE(serialNumber(), std::string("OV7A00001234"));
      QVERIFY(simulator::hdcpKey().empty());
      QCOMPARE(int{simulator::eepromContent(0x50)[3]}, int{' '});
      QCOMPARE(int{simulator::mcuFlash()[9]}, 0x55 + 9);
    } else {
      QCOMPARE(int{simulator::eepromContent(0x50)[3]}, int{'!'});
    }
  }

  void aPieceIsPutWhereItWas() {
    writeState(record(kMcuFlash, piece(100, 3, "abc")) + record(kMcuFlash, piece(200, 4, "z")) +
               record(kCalibrationEeprom, piece(8190, 2, "yx")));
    QCOMPARE(start(), 0);
    const std::vector<std::uint8_t> flash = simulator::mcuFlash();
    for (int i = 0; i < 256; ++i) {
      const int factory = i == 0x20 ? 0x12 : (0x55 + i) % 256;
      QCOMPARE(int{flash[static_cast<std::size_t>(i)]}, i >= 100 && i < 103   ? 'a' + i - 100
                                                        : i >= 200 && i < 204 ? int{'z'}
                                                                              : factory);
    }
    QCOMPARE(int{simulator::eepromContent(0x54)[8191]}, int{'x'});
  }

  // The real clock goes on without the device's program, for a day at most.
  void theClockGoesOnMeanwhile_data() {
    QTest::addColumn<qint64>("awayMs");
    QTest::addColumn<qint64>("countedMs");
    const qint64 day = qint64{24} * 60 * 60 * 1000;
    QTest::newRow("an hour") << day / 24 << day / 24;
    QTest::newRow("a day") << day << day;
    QTest::newRow("a month") << 30 * day << day;
    QTest::newRow("host's clock set back") << -day << qint64{0};
  }

  void theClockGoesOnMeanwhile() {
    QFETCH(qint64, awayMs);
    QFETCH(qint64, countedMs);
    writeState(record(kClock, clockBytes(5s, QDateTime::currentMSecsSinceEpoch() - awayMs)));
    QCOMPARE(simulator::loadScenario(scenario()), std::string());
    QCOMPARE(initialize(), 0);
    const auto passed = simulator::now() - 5s - std::chrono::milliseconds(countedMs);
    QVERIFY(passed >= 0ns && passed < 30s);
    // A stopped clock does not.
    writeState(record(kClock, clockBytes(5s, QDateTime::currentMSecsSinceEpoch() - awayMs)));
    QCOMPARE(start(), 0);
    QVERIFY(simulator::now() == 5s);
  }
};

QTEST_GUILESS_MAIN(StoredStateTest)
#include "stored_state_test.moc"
