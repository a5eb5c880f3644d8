#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/i2c_calls.h"
#include "tests/simulator/operation_table.h"

#include <chrono>
#include <stdexcept>

using i2c::Bytes;
using namespace std::chrono_literals;

namespace {

constexpr std::uint8_t kBoard = 0x50;        // 256 bytes, pages of 8
constexpr std::uint8_t kCalibration = 0x54;  // 8 KiB, pages of 32
constexpr std::uint8_t kSensor = 0x48;

Bytes textBytes(const char* text) { return {text, text + std::strlen(text)}; }

Bytes part(const Bytes& bytes, std::size_t first, std::size_t size) {
  const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(first);
  return {begin, begin + static_cast<std::ptrdiff_t>(size)};
}

/// Address bytes and bytes of data, counted up from 1.
Bytes writeOf(Bytes address, std::size_t count) {
  for (std::size_t i = 1; i <= count; ++i) {
    address.push_back(static_cast<std::uint8_t>(i));
  }
  return address;
}

template <typename Action>
std::string complaintOf(Action action) {
  try {
    action();
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
  return "none";
}

}  // namespace

/// The EEPROMs and the temperature sensor.
class I2cChipsTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    simulator::reset();
    simulator::useVirtualTime();
    openDefaultDevice();
  }

  void eachChipAnswersAtItsOwnAddressOnly() {
    for (int address = 0; address < 256; ++address) {
      const auto slave = static_cast<std::uint8_t>(address);
      const bool isChip = slave == 0x0D || slave == kSensor || slave == kBoard || slave == kCalibration;
      QCOMPARE(i2c::read(slave, {0}, 1).size(), std::size_t{isChip ? 1U : 0U});
      for (const int bus : {0, 1, 2, 4, 255}) {
        QVERIFY(i2c::read(slave, {0}, 1, static_cast<std::uint8_t>(bus)).empty());
        QCOMPARE(i2c::write(slave, {0}, static_cast<std::uint8_t>(bus)), simulator::kNoAnswer);
      }
    }
  }

  void aNewDevicesEepromsHoldTheirTexts() {
    Bytes board(256, 0xFF);
    const Bytes name = textBytes("KVR BOARD REV B");
    std::copy(name.begin(), name.end(), board.begin());
    QCOMPARE(simulator::eepromContent(kBoard), board);
    Bytes calibration(8192, 0xFF);
    const Bytes text = textBytes("KVR CALIBRATION");
    std::copy(text.begin(), text.end(), calibration.begin() + 0x0100);
    QCOMPARE(simulator::eepromContent(kCalibration), calibration);
  }

  void aWriteWrapsWithinItsPage() {
    QCOMPARE(i2c::write(kBoard, writeOf({0x8D}, 6)), 0);
    QCOMPARE(part(simulator::eepromContent(kBoard), 0x87, 10), (Bytes{0xFF, 4, 5, 6, 0xFF, 0xFF, 1, 2, 3, 0xFF}));
    QCOMPARE(i2c::write(kCalibration, writeOf({0x10, 0x3E}, 4)), 0);
    const Bytes content = simulator::eepromContent(kCalibration);
    QCOMPARE(part(content, 0x101F, 4), (Bytes{0xFF, 3, 4, 0xFF}));
    QCOMPARE(part(content, 0x103D, 4), (Bytes{0xFF, 1, 2, 0xFF}));
  }

  void aReadGoesOnOverTheEnd() {
    simulator::programEeprom(kBoard, 0, {0xA0, 0xA1});
    simulator::programEeprom(kBoard, 254, {0xFE, 0xEF});
    QCOMPARE(i2c::read(kBoard, {0xFE}, 4), (Bytes{0xFE, 0xEF, 0xA0, 0xA1}));
    simulator::programEeprom(kCalibration, 0, {0xB0, 0xB1});
    simulator::programEeprom(kCalibration, 8190, {0x1E, 0x1F});
    QCOMPARE(i2c::read(kCalibration, {0x1F, 0xFE}, 4), (Bytes{0x1E, 0x1F, 0xB0, 0xB1}));
    // The chip has 13 address bits.
    QCOMPARE(i2c::read(kCalibration, {0xFF, 0xFE}, 2), (Bytes{0x1E, 0x1F}));
    QCOMPARE(i2c::read(kCalibration, {0x20, 0x00}, 2), (Bytes{0xB0, 0xB1}));
  }

  // The lower byte then stays as the last transfer left it.
  void oneByteIsTheUpperPartOfALongAddress() {
    simulator::programEeprom(kCalibration, 0x0312, {0x77});
    QCOMPARE(i2c::read(kCalibration, {0x01, 0x11}, 1), (Bytes{0xFF}));
    QCOMPARE(i2c::read(kCalibration, {0x03}, 1), (Bytes{0x77}));
    simulator::unplug();
    simulator::replug();
    simulator::programEeprom(kCalibration, 0x0300, {0x66});
    QCOMPARE(i2c::read(kCalibration, {0x03}, 1), (Bytes{0x66}));
  }

  void bytesBehindTheAddressOfAReadMoveInThePageAndAreNotStored() {
    simulator::programEeprom(kBoard, 0x80, {0, 1, 2, 3, 4, 5, 6, 7});
    const Bytes before = simulator::eepromContent(kBoard);
    QCOMPARE(i2c::read(kBoard, {0x85, 0x99}, 1), (Bytes{6}));
    QCOMPARE(i2c::read(kBoard, {0x85, 0x99, 0x99, 0x99}, 1), (Bytes{0}));
    QCOMPARE(simulator::eepromContent(kBoard), before);
  }

  void anEepromIsBusyForFiveMillisecondsAfterAWrite() {
    for (const std::uint8_t slave : {kBoard, kCalibration}) {
      QCOMPARE(i2c::write(slave, {0x01, 0x02, 0x03}), 0);
      simulator::advanceTime(5ms - 1ns);
      QVERIFY(i2c::read(slave, {0}, 1).empty());
      QCOMPARE(i2c::write(slave, {0x01, 0x02, 0x03}), simulator::kNoAnswer);
      simulator::advanceTime(1ns);
      QCOMPARE(i2c::read(slave, {0}, 1).size(), std::size_t{1});
    }
    // An address alone is no write.
    QCOMPARE(i2c::write(kBoard, {0x10}), 0);
    QCOMPARE(i2c::write(kBoard, {0x10}), 0);
    QCOMPARE(i2c::write(kCalibration, {0x10, 0x20}), 0);
    QCOMPARE(i2c::write(kCalibration, {0x10}), 0);
  }

  void theSpeedFactorShortensAWrite() {
    QCOMPARE(simulator::loadScenario(R"({"speedFactor": 5})"), std::string());
    simulator::useVirtualTime();
    openDefaultDevice();
    QCOMPARE(i2c::write(kBoard, {0x01, 0x02}), 0);
    simulator::advanceTime(1ms - 1ns);
    QVERIFY(i2c::read(kBoard, {0}, 1).empty());
    simulator::advanceTime(1ns);
    QCOMPARE(i2c::read(kBoard, {1}, 1), Bytes{0x02});
  }

  void programmingDropsWhatDoesNotFit() {
    simulator::programEeprom(kBoard, 255, {1, 2});
    simulator::programEeprom(kBoard, 256, {3});
    simulator::programEeprom(kBoard, 1'000'000, {4});
    Bytes content = simulator::eepromContent(kBoard);
    QCOMPARE(content.size(), std::size_t{256});
    QCOMPARE(content[255], std::uint8_t{1});
    QCOMPARE(content[0], std::uint8_t{'K'});
    QCOMPARE(complaintOf([] { simulator::eepromContent(0x51); }), std::string("no EEPROM at address 81"));
    QCOMPARE(complaintOf([] { simulator::programEeprom(kSensor, 0, {1}); }), std::string("no EEPROM at address 72"));
  }

  void theSensorsRegistersOfANewDevice() {
    const std::vector<Bytes> registers{
        {0x2A, 0x40}, {0x60, 0xA0}, {0x4B, 0x00}, {0x50, 0x00}};  // 42.25, 75, 80 degrees
    for (std::uint8_t index = 0; index < 4; ++index) {
      QCOMPARE(i2c::read(kSensor, {index}, 2), registers[index]);
      QCOMPARE(i2c::read(kSensor, {index}, 1), Bytes{registers[index][0]});
      QCOMPARE(i2c::read(kSensor, {index}, 3), (Bytes{registers[index][0], registers[index][1], registers[index][0]}));
      QVERIFY(i2c::read(kSensor, {index, 0}, 2).empty());
    }
    QVERIFY(i2c::read(kSensor, {4}, 2).empty());
  }

  void theSensorsRegistersAreWrittenAsAWhole() {
    for (std::uint8_t index = 0; index < 4; ++index) {
      const Bytes before = i2c::read(kSensor, {index}, 2);
      QCOMPARE(i2c::write(kSensor, {index}), 0);
      QCOMPARE(i2c::write(kSensor, {index, 0x12}), 0);
      QCOMPARE(i2c::read(kSensor, {index}, 2), before);
      QCOMPARE(i2c::write(kSensor, {index, 0x12, 0x34}), 0);
      // The temperature is measured, not set.
      QCOMPARE(i2c::read(kSensor, {index}, 2), index == 0 ? before : (Bytes{0x12, 0x34}));
      QCOMPARE(i2c::write(kSensor, {index, 0x56, 0x78, 0x9A}), 0);
      QCOMPARE(i2c::read(kSensor, {index}, 2), index == 0 ? before : (Bytes{0x56, 0x78}));
    }
    QCOMPARE(i2c::write(kSensor, {4}), simulator::kNoAnswer);
    QCOMPARE(i2c::write(kSensor, {255, 1, 2}), simulator::kNoAnswer);
  }

  void aTransferHasOneToFourThousandAndNinetySixBytes() {
    const Bytes bytes(4097);
    Bytes buffer(4097);
    const auto send = [&](std::uint16_t size) {
      return AT_System_Send_ExternalMCU_cmd(3, kSensor, size, bytes.data());
    };
    QCOMPARE(send(0), simulator::kInvalidArgument);
    QCOMPARE(send(1), 0);
    QCOMPARE(send(4096), 0);
    QCOMPARE(send(4097), simulator::kInvalidArgument);
    const auto get = [&](unsigned index, unsigned size) {
      return AT_System_Get_ExternalMCU_cmd(3, kBoard, index, bytes.data(), size, buffer.data());
    };
    QCOMPARE(get(0, 1), simulator::kInvalidArgument);
    QCOMPARE(get(1, 0), simulator::kInvalidArgument);
    QCOMPARE(get(1, 1), 0);
    QCOMPARE(get(4096, 4096), 0);
    QCOMPARE(get(4097, 1), simulator::kInvalidArgument);
    QCOMPARE(get(1, 4097), simulator::kInvalidArgument);
  }

  void onlyExistingPinsCanBeSet() {
    simulator::setGpioPin(1, 13, 7);
    std::uint8_t value = 0;
    QCOMPARE(AT_GPIO_Get_Param(1, 13, &value), 0);
    QCOMPARE(value, std::uint8_t{7});
    QCOMPARE(complaintOf([] { simulator::setGpioPin(2, 13, 7); }), std::string("no GPIO pin 13 in group 2"));
    QCOMPARE(complaintOf([] { simulator::setGpioPin(1, 14, 7); }), std::string("no GPIO pin 14 in group 1"));
    QCOMPARE(AT_GPIO_Get_Param(2, 0, &value), simulator::kInvalidArgument);
    QCOMPARE(AT_GPIO_Get_Param(0, 14, &value), simulator::kInvalidArgument);
    QCOMPARE(value, std::uint8_t{7});
  }
};

QTEST_GUILESS_MAIN(I2cChipsTest)
#include "i2c_chips_test.moc"
