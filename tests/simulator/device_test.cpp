#include "device/bytes.h"
#include "simulator/device/status.h"
#include "tests/simulator/opened_device.h"

#include <climits>
#include <numeric>
#include <string>

namespace {

int width() {
  std::array<std::uint8_t, 128> timing{};
  return AT_UVC_Get_Output_Timing(timing.data()) == 0 ? static_cast<int>(device::readU32le(timing, 0)) : -1;
}

int hActive() {
  std::array<std::uint8_t, 48> record{};
  return AT_HdmiRX_GetRawTimingInfo(record.data()) == 0 ? device::readU16le(record, 0x08) : -1;
}

std::pair<int, int> hdcp() {
  std::array<std::uint8_t, 128> versions{};
  return AT_Get_RX_TX_HDCP_Version(versions.data()) == 0 ? std::pair<int, int>(versions[0], versions[1])
                                                         : std::pair(-1, -1);
}

int source() { return byteOf(AT_Get_Current_Input_Source); }

void switchSource(std::uint8_t to) { QCOMPARE(AT_Input_Source_Switch(&to), 0); }

QByteArray serialNumber() {
  QByteArray buffer(100, '\0');
  std::uint32_t length = 0;
  const int status = AT_USB_Get_SerialNum(reinterpret_cast<std::uint8_t*>(buffer.data()), 100, &length);
  return status == 0 ? buffer.left(static_cast<int>(length)) : "failed";
}

int setSerialNumber(const QByteArray& text) {
  return AT_USB_Set_SerialNum(reinterpret_cast<const std::uint8_t*>(text.constData()),
                              static_cast<std::uint32_t>(text.size()));
}

QByteArray captureVersion() {
  std::array<std::uint8_t, 128> text{};
  return AT_Get_Customer_Ver(text.data()) == 0 ? QByteArray(reinterpret_cast<const char*>(text.data())) : "failed";
}

}  // namespace

class SimulatorDeviceTest : public QObject {
  Q_OBJECT

 private slots:
  void theDefaultIdentity() {
    openDevice();
    QCOMPARE(captureVersion(), "V1.03.07");
    QCOMPARE(serialNumber(), "OV7A00001234");
    std::array<std::uint8_t, 100> text{};
    std::uint32_t length = 0;
    QCOMPARE(AT_Get_UVC_Name(text.data(), 100, &length), 0);
    QCOMPARE(QByteArray(reinterpret_cast<const char*>(text.data())), "KVR-7 Video");
    QCOMPARE(length, 11U);
    QCOMPARE(AT_USB_Get_iManufacturer(text.data(), 64), 8);
    QCOMPARE(QByteArray(reinterpret_cast<const char*>(text.data()), 8), "Orvenhal");
    QCOMPARE(AT_USB_Get_iProduct(text.data(), 64), 5);
    QCOMPARE(QByteArray(reinterpret_cast<const char*>(text.data()), 5), "KVR-7");
  }

  void aTextThatDoesNotFitIsNotCut() {
    openDevice(
        R"({"identity": {"captureVersion": "12345", "uvcName": "12345", "manufacturer": "12345", "product": "12345",
             "serialNumber": "12345"}})");
    const Scratch untouched;
    Scratch s;
    QCOMPARE(AT_Get_UVC_Name(s.buffer.data(), 5, &s.length), simulator::kBufferTooSmall);
    QCOMPARE(AT_USB_Get_iManufacturer(s.buffer.data(), 4), simulator::kBufferTooSmall);
    QCOMPARE(AT_USB_Get_iProduct(s.buffer.data(), 0), simulator::kBufferTooSmall);
    QCOMPARE(AT_USB_Get_SerialNum(s.buffer.data(), 4, &s.length), simulator::kBufferTooSmall);
    QCOMPARE(s, untouched);
    QCOMPARE(AT_Get_UVC_Name(s.buffer.data(), 6, &s.length), 0);
    QCOMPARE(AT_USB_Get_iManufacturer(s.buffer.data(), 5), 5);
    // A serial number may fill its buffer, without a terminator.
    QCOMPARE(AT_USB_Get_SerialNum(s.buffer.data(), 5, &s.length), 0);
    QCOMPARE(s.length, 5U);
  }

  void nullPointersFail() {
    openDevice();
    std::uint8_t byte = 0;
    std::uint32_t length = 0;
    const BurnFile file;
    const int statuses[] = {burnToFlash(nullptr, [](float) {}),
                            burnToFlash(file.path(), nullptr),
                            burnHDCP(nullptr),
                            AT_USB_Get_SerialNum(nullptr, 100, &length),
                            AT_USB_Get_SerialNum(&byte, 1, nullptr),
                            AT_USB_Set_SerialNum(nullptr, 1),
                            AT_Get_Customer_Ver(nullptr),
                            AT_Get_UVC_Name(nullptr, 100, &length),
                            AT_Get_UVC_Name(&byte, 1, nullptr),
                            AT_USB_Get_iManufacturer(nullptr, 64),
                            AT_USB_Get_iProduct(nullptr, 64),
                            AT_System_Send_ExternalMCU_cmd(3, 0x0D, 1, nullptr),
                            AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, nullptr, 1, &byte),
                            AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, &byte, 1, nullptr),
                            AT_HdmiRX_GetRawTimingInfo(nullptr),
                            AT_Get_Current_Input_Source(nullptr),
                            AT_Input_Source_Switch(nullptr),
                            AT_HdmiTX_Get_HPD_Status(nullptr),
                            AT_UVC_Get_Output_Timing(nullptr),
                            AT_UVC_Get_VideoFormat(nullptr),
                            AT_Get_RX_TX_HDCP_Version(nullptr),
                            AT_Audio_Get_HdmiRX_AudioFormat(nullptr),
                            AT_Audio_Get_HdmiRX_AudioSamplingRate(nullptr),
                            AT_Audio_Get_HdmiDPRX_VolumeGain(nullptr),
                            AT_Audio_Get_HPOUTgain(nullptr),
                            AT_Audio_Set_HPOUTgain(nullptr),
                            AT_Audio_Get_DACHP_Mute(nullptr),
                            AT_EDID_Get_EDID_mode(nullptr),
                            AT_EDID_Flash_Get_Default_table(nullptr),
                            AT_EDID_Flash_Get_table(0, nullptr, 256),
                            AT_EDID_Flash_Set_table(0, nullptr, 256),
                            AT_EDID_Get_TX_table(256, nullptr),
                            AT_EDID_DDC_Get_RX_table(256, nullptr),
                            AT_GPIO_Get_Param(0, 0, nullptr)};
    for (const int status : statuses) {
      QCOMPARE(status, simulator::kInvalidArgument);
    }
  }

  void valuesOutOfRangeFailAndChangeNothing() {
    openDevice();
    const std::uint8_t two = 2;
    QCOMPARE(AT_Input_Source_Switch(&two), simulator::kInvalidArgument);
    QCOMPARE(AT_HdmiRX_Set_HPD(2), simulator::kInvalidArgument);
    QCOMPARE(AT_SetHDMI_HDCP_OnOff(-1), simulator::kInvalidArgument);
    QCOMPARE(AT_Audio_Set_DACHP_Mute(2), simulator::kInvalidArgument);
    QCOMPARE(AT_Audio_Set_HdmiDPRX_VolumeGain(32768), simulator::kInvalidArgument);
    QCOMPARE(AT_Audio_Set_HdmiDPRX_VolumeGain(INT_MIN), simulator::kInvalidArgument);
    QCOMPARE(AT_EDID_Set_EDID_mode(4), simulator::kInvalidArgument);
    QCOMPARE(AT_EDID_Set_EDID_mode(-1), simulator::kInvalidArgument);
    QCOMPARE(AT_EDID_Flash_Set_Default_table(7), simulator::kInvalidArgument);
    QCOMPARE(AT_GPIO_Set_Param(2, 0, 1), simulator::kInvalidArgument);
    QCOMPARE(AT_GPIO_Set_Param(0, 14, 1), simulator::kInvalidArgument);
    QCOMPARE(setSerialNumber(QByteArray(101, 'x')), simulator::kInvalidArgument);
    QCOMPARE(setSerialNumber(""), simulator::kInvalidArgument);
    QCOMPARE(AT_USB_Set_SerialNum(&two, UINT_MAX), simulator::kInvalidArgument);
    QCOMPARE(AT_EDID_Flash_Set_table(0, &two, UINT_MAX), simulator::kInvalidArgument);
    QCOMPARE(AT_EDID_Flash_Set_table(7, &two, 1), simulator::kInvalidArgument);
    Scratch s;
    for (const std::uint32_t size : {0U, 128U, 255U, 257U, 513U, UINT_MAX}) {
      QCOMPARE(AT_EDID_Flash_Get_table(0, s.buffer.data(), size), simulator::kInvalidArgument);
      QCOMPARE(AT_EDID_Get_TX_table(size, s.buffer.data()), simulator::kInvalidArgument);
      QCOMPARE(AT_EDID_DDC_Get_RX_table(size, s.buffer.data()), simulator::kInvalidArgument);
    }
    QCOMPARE(AT_EDID_Flash_Get_table(7, s.buffer.data(), 256), simulator::kInvalidArgument);
    QCOMPARE(AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, &two, UINT_MAX, s.buffer.data()), simulator::kInvalidArgument);
    QCOMPARE(s, Scratch());
    QCOMPARE(source(), 0);
    QCOMPARE(hActive(), 1920);
    QCOMPARE(byteOf(AT_Audio_Get_DACHP_Mute), 0);
    QCOMPARE(byteOf(AT_EDID_Get_EDID_mode), 0);
    QCOMPARE(serialNumber(), "OV7A00001234");
  }

  void theSourceDecidesWhatIsReported() {
    openDevice(R"({"inputs": {"hdmi": "720p60", "dp": "1440p144"}})");
    QCOMPARE(hActive(), 1280);
    QCOMPARE(width(), 1280);
    QCOMPARE(hdcp(), std::pair(1, 1));
    switchSource(1);
    QCOMPARE(source(), 1);
    QCOMPARE(hActive(), 2560);
    QCOMPARE(width(), 2560);
    QCOMPARE(hdcp(), std::pair(0, 0));
    switchSource(0);
    QCOMPARE(hActive(), 1280);
  }

  void hotPlugOffTakesTheHdmiSignalAwayOnly() {
    openDevice();
    QCOMPARE(AT_HdmiRX_Set_HPD(0), 0);
    QCOMPARE(hActive(), 0);
    QCOMPARE(width(), 0);
    QCOMPARE(byteOf(AT_Audio_Get_HdmiRX_AudioFormat), 1);
    switchSource(1);
    QCOMPARE(hActive(), 2560);
    switchSource(0);
    QCOMPARE(AT_HdmiRX_Set_HPD(1), 0);
    QCOMPARE(hActive(), 1920);
    QCOMPARE(byteOf(AT_Audio_Get_HdmiRX_AudioFormat), 2);
  }

  void txHdcpIsOffWhenSwitchedOff() {
    openDevice(R"({"signal": "2160p60-hdr10"})");
    QCOMPARE(hdcp(), std::pair(2, 2));
    QCOMPARE(AT_SetHDMI_HDCP_OnOff(0), 0);
    QCOMPARE(hdcp(), std::pair(2, 3));
    QCOMPARE(AT_SetHDMI_HDCP_OnOff(1), 0);
    QCOMPARE(hdcp(), std::pair(2, 2));
  }

  void withoutASinkThereIsNoHotPlugNoHdcpAndNoEdid() {
    openDevice(R"({"sink": {"present": false}})");
    std::int32_t status = 9;
    QCOMPARE(AT_HdmiTX_Get_HPD_Status(&status), 0);
    QCOMPARE(status, 0);
    QCOMPARE(hdcp(), std::pair(1, 0));
    Scratch s;
    QCOMPARE(AT_EDID_Get_TX_table(256, s.buffer.data()), simulator::kNoSink);
    QCOMPARE(s, Scratch());
    openDevice();
    QCOMPARE(AT_HdmiTX_Get_HPD_Status(&status), 0);
    QCOMPARE(status, 1);
  }

  void gainsAndMuteAreKept() {
    openDevice(R"({"audio": {"receiverGain": -32768, "headphoneGain": 32767, "muted": true}})");
    std::int16_t gain = 0;
    QCOMPARE(AT_Audio_Get_HdmiDPRX_VolumeGain(&gain), 0);
    QCOMPARE(gain, std::int16_t{-32768});
    QCOMPARE(AT_Audio_Get_HPOUTgain(&gain), 0);
    QCOMPARE(gain, std::int16_t{32767});
    QCOMPARE(byteOf(AT_Audio_Get_DACHP_Mute), 1);
    QCOMPARE(AT_Audio_Set_HdmiDPRX_VolumeGain(-72), 0);
    gain = 12;
    QCOMPARE(AT_Audio_Set_HPOUTgain(&gain), 0);
    QCOMPARE(AT_Audio_Set_DACHP_Mute(0), 0);
    QCOMPARE(AT_Audio_Get_HdmiDPRX_VolumeGain(&gain), 0);
    QCOMPARE(gain, std::int16_t{-72});
    QCOMPARE(AT_Audio_Get_HPOUTgain(&gain), 0);
    QCOMPARE(gain, std::int16_t{12});
    QCOMPARE(byteOf(AT_Audio_Get_DACHP_Mute), 0);
  }

  void aTableWrittenToASlotIsReadBack() {
    openDevice();
    std::array<std::uint8_t, 512> table{};
    for (std::uint8_t slot = 0; slot < 7; ++slot) {
      std::iota(table.begin(), table.end(), slot);
      QCOMPARE(AT_EDID_Flash_Set_table(slot, table.data(), 512), 0);
    }
    for (std::uint8_t slot = 0; slot < 7; ++slot) {
      std::iota(table.begin(), table.end(), slot);
      std::array<std::uint8_t, 512> read{};
      QCOMPARE(AT_EDID_Flash_Get_table(slot, read.data(), 512), 0);
      QVERIFY(read == table);
      QCOMPARE(AT_EDID_Flash_Set_Default_table(slot), 0);
      QCOMPARE(byteOf(AT_EDID_Flash_Get_Default_table), slot);
      QCOMPARE(AT_EDID_DDC_Get_RX_table(512, read.data()), 0);
      QVERIFY(read == table);
    }
  }

  void gpioPinsAreApart() {
    openDevice();
    for (std::uint8_t group = 0; group < 2; ++group) {
      for (std::uint8_t pin = 0; pin < 14; ++pin) {
        QCOMPARE(AT_GPIO_Set_Param(group, pin, static_cast<std::uint8_t>(group * 100 + pin)), 0);
      }
    }
    for (std::uint8_t group = 0; group < 2; ++group) {
      for (std::uint8_t pin = 0; pin < 14; ++pin) {
        QCOMPARE(byteOf([&](std::uint8_t* value) { return AT_GPIO_Get_Param(group, pin, value); }), group * 100 + pin);
      }
    }
  }

  void theMcuAnswersOnItsBusAndAddressOnly() {
    openDevice(R"({"externalMcu": {"family": "v", "version": "0xF0"}})");
    const auto read = [](std::uint8_t bus, std::uint8_t slave, std::uint8_t index) {
      std::uint8_t value = 0xA5;
      const int status = AT_System_Get_ExternalMCU_cmd(bus, slave, 1, &index, 1, &value);
      return status == 0 ? int{value} : status;
    };
    QCOMPARE(read(3, 0x0D, 0x00), 0x76);
    QCOMPARE(read(3, 0x0D, 0x02), 0xF0);
    QCOMPARE(read(2, 0x0D, 0x00), simulator::kNoAnswer);
    QCOMPARE(read(3, 0x43, 0x00), simulator::kNoAnswer);
    QCOMPARE(read(3, 0x7F, 0x00), simulator::kNoAnswer);
    openDevice();
    QCOMPARE(read(3, 0x0D, 0x00), 0x32);
    QCOMPARE(read(3, 0x0D, 0x02), 0x12);
    openDevice(R"({"externalMcu": {"mode": "bootLoader"}})");
    QCOMPARE(read(3, 0x0D, 0x00), simulator::kNoAnswer);
    QCOMPARE(read(3, 0x43, 0x00), 0x32);
    QCOMPARE(read(3, 0x43, 0x01), 0x01);
  }

  void theSerialNumberFillsItsBuffer() {
    openDevice();
    QCOMPARE(setSerialNumber(" AB 12 "), 0);
    QCOMPARE(serialNumber(), " AB 12 ");
    QCOMPARE(setSerialNumber(QByteArray(100, 'x')), 0);
    QCOMPARE(serialNumber(), QByteArray(100, 'x'));
  }

  void factoryDefaultsReachTheSettingsOnly() {
    openDevice();
    switchSource(1);
    AT_SetHDMI_HDCP_OnOff(0);
    AT_Audio_Set_DACHP_Mute(1);
    AT_Audio_Set_HdmiDPRX_VolumeGain(5);
    AT_EDID_Set_EDID_mode(3);
    AT_EDID_Flash_Set_Default_table(4);
    setSerialNumber("kept");
    QCOMPARE(AT_RestoreToDefault(), 0);
    QCOMPARE(source(), 0);
    QCOMPARE(hdcp(), std::pair(1, 1));
    QCOMPARE(byteOf(AT_Audio_Get_DACHP_Mute), 0);
    std::int16_t gain = 99;
    QCOMPARE(AT_Audio_Get_HdmiDPRX_VolumeGain(&gain), 0);
    QCOMPARE(gain, std::int16_t{0});
    QCOMPARE(byteOf(AT_EDID_Get_EDID_mode), 0);
    QCOMPARE(byteOf(AT_EDID_Flash_Get_Default_table), 0);
    QCOMPARE(serialNumber(), "kept");
  }

  void theClockMovesOnRequestOnly() {
    simulator::reset();
    simulator::useVirtualTime();
    const auto start = simulator::now();
    QVERIFY(simulator::now() == start);
    simulator::advanceTime(std::chrono::hours(1));
    QVERIFY(simulator::now() - start == std::chrono::hours(1));
    simulator::reset();
    const auto again = simulator::now();
    QTRY_VERIFY(simulator::now() > again);
    QVERIFY(again < std::chrono::hours(1));
  }
};

QTEST_GUILESS_MAIN(SimulatorDeviceTest)
#include "device_test.moc"
