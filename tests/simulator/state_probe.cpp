/// @file
/// Operates the simulated device in a separate process and prints the device's state
/// afterwards. Started by state_file_test.
#include "device/RTICE_SDK_x64.h"
#include "simulator/control/control.h"
#include "tests/support/upgrade_reference.h"

#include <QFile>
#include <QStringList>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <csignal>
#endif

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Ends like a killed process, without any clean-up.
[[noreturn]] void die() {
#if defined(_WIN32)
  TerminateProcess(GetCurrentProcess(), 9);
#else
  raise(SIGKILL);
#endif
  std::abort();
}

/// A checksum over all the bytes.
unsigned long long digest(const Bytes& bytes) {
  std::uint64_t hash = 0xCBF29CE484222325ULL;
  for (const std::uint8_t byte : bytes) {
    hash = (hash ^ byte) * 0x100000001B3ULL;
  }
  return hash;
}

void showBytes(const char* what, std::int32_t status, const Bytes& bytes) {
  std::printf("%s %d %zu %016llX\n", what, status, bytes.size(), digest(bytes));
}

/// Reads something into a buffer and prints it.
template <typename Read>
void showRead(const char* what, std::size_t size, Read read) {
  Bytes bytes(size);
  const std::int32_t status = read(bytes.data());
  showBytes(what, status, bytes);
}

void show() {
  std::uint32_t length = 0;
  Bytes text(128);
  const std::int32_t status = AT_Get_Customer_Ver(text.data());
  std::printf("version %d %s\n", status, reinterpret_cast<const char*>(text.data()));
  showRead("serial", 100, [&](std::uint8_t* bytes) { return AT_USB_Get_SerialNum(bytes, 100, &length); });
  for (std::uint8_t slot = 0; slot < 7; ++slot) {
    showRead("slot", 512, [&](std::uint8_t* bytes) { return AT_EDID_Flash_Get_table(slot, bytes, 512); });
  }
  for (auto* const read :
       {AT_Get_Current_Input_Source, AT_Audio_Get_DACHP_Mute, AT_EDID_Get_EDID_mode, AT_EDID_Flash_Get_Default_table}) {
    showRead("setting", 1, read);
  }
  showRead("HDCP", 128, AT_Get_RX_TX_HDCP_Version);
  showRead("timing", RTICE_RAW_TIMING_INFO_SIZE, AT_HdmiRX_GetRawTimingInfo);
  for (auto* const read : {AT_Audio_Get_HdmiDPRX_VolumeGain, AT_Audio_Get_HPOUTgain}) {
    std::int16_t gain = 0;
    const std::int32_t result = read(&gain);
    std::printf("gain %d %d\n", result, gain);
  }
  for (const std::uint8_t group : std::initializer_list<std::uint8_t>{0, 1}) {
    showRead("pin", 1, [&](std::uint8_t* bytes) { return AT_GPIO_Get_Param(group, 13, bytes); });
  }
  showRead("sensor", 8, [](std::uint8_t* bytes) {
    const std::uint8_t index = 2;
    return AT_System_Get_ExternalMCU_cmd(3, 0x48, 1, &index, 2, bytes);
  });
  showBytes("key", 0, simulator::hdcpKey());
  showBytes("EEPROM", 0, simulator::eepromContent(0x50));
  showBytes("EEPROM", 0, simulator::eepromContent(0x54));
  showBytes("capture flash", 0, simulator::captureFlash());
  showRead("version of the MCU", 1, [](std::uint8_t* bytes) {
    const std::uint8_t index = 2;
    return AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, &index, 1, bytes);
  });
  showBytes("flash of the MCU", 0, simulator::mcuFlash());
  std::printf("running %s\n", simulator::mcuRunsApplication() ? "application" : "boot loader");
}

/// Changes everything that a device stores.
void change(const QByteArray& folder) {
  const std::uint8_t source = 1;
  AT_Input_Source_Switch(&source);
  AT_HdmiRX_Set_HPD(0);
  AT_SetHDMI_HDCP_OnOff(0);
  AT_Audio_Set_HdmiDPRX_VolumeGain(-5);
  const std::int16_t gain = 7;
  AT_Audio_Set_HPOUTgain(&gain);
  AT_Audio_Set_DACHP_Mute(1);
  AT_EDID_Set_EDID_mode(3);
  AT_EDID_Flash_Set_Default_table(4);
  const Bytes table(300, 0x33);
  AT_EDID_Flash_Set_table(4, table.data(), 300);
  AT_EDID_Flash_Set_table(6, table.data(), 2);
  AT_GPIO_Set_Param(0, 13, 0x11);
  AT_GPIO_Set_Param(1, 13, 0x22);
  AT_USB_Set_SerialNum(reinterpret_cast<const std::uint8_t*>("SN-42"), 5);
  for (const std::uint8_t slave : std::initializer_list<std::uint8_t>{0x48, 0x50, 0x54}) {
    const std::array<std::uint8_t, 4> bytes{0x02, 0x40, 0x77, 0x78};
    AT_System_Send_ExternalMCU_cmd(3, slave, 4, bytes.data());
  }
  burnHDCP((folder + "/key.bin").constData());
}

void sendToMcu(std::uint8_t slave, const QByteArray& bytes) {
  AT_System_Send_ExternalMCU_cmd(3, slave, static_cast<std::uint16_t>(bytes.size()),
                                 reinterpret_cast<const std::uint8_t*>(bytes.constData()));
}

/// The transfers of an upgrade with three blocks, family v.
QVector<std::pair<std::uint8_t, QByteArray>> upgradeTransfers() {
  using upgrade_reference::addressPacket;
  using upgrade_reference::packet;
  QVector<std::pair<std::uint8_t, QByteArray>> transfers{
      {0x0D, QByteArray("\x08\x01", 2)}, {0x43, QByteArray("\x01\x01", 2)}, {0x43, packet(0xA1)}};
  for (int block = 0; block < 3; ++block) {
    transfers.append({0x43, addressPacket(static_cast<quint32>(block) * 128)});
    for (int piece = 0; piece < 2; ++piece) {
      transfers.append({0x43, packet(0xA3, QByteArray(64, static_cast<char>('a' + 2 * block + piece)))});
    }
  }
  transfers.append({0x43, packet(0xA4)});
  return transfers;
}

/// @return the number of transfers of a whole upgrade
int upgrade(int first, int end) {
  const auto transfers = upgradeTransfers();
  for (int i = first; i < transfers.size() && i < end; ++i) {
    sendToMcu(transfers[i].first, transfers[i].second);
  }
  return transfers.size();
}

int reportsUntilDeath = 0;

int open() {
  const std::int32_t status = initialize();
  if (status != 0) {
    std::printf("initialize %d\n", status);
    return 3;
  }
  if (setDevice(0, 0, 0x5C19, 0x6B03) != 0 || openPort() != 0) {
    std::printf("no port\n");
    return 4;
  }
  return 0;
}

}  // namespace

/// Usage: state_probe [change FOLDER | upgrade FIRST END | burn FILE REPORTS |
/// hold]. With REPORTS the process dies at that report of a burn; "upgrade"
/// always dies.
int main(int argc, char* argv[]) {
  QStringList arguments;
  for (int i = 1; i < argc; ++i) {
    arguments << QString::fromLocal8Bit(argv[i]);
  }
  arguments << ""
            << ""
            << "";
  if (const int failure = open(); failure != 0) {
    return failure;
  }
  if (arguments[0] == "change") {
    change(arguments[1].toUtf8());
  } else if (arguments[0] == "upgrade") {
    std::printf("transfers %d\n", upgrade(arguments[1].toInt(), arguments[2].toInt()));
    std::fflush(stdout);
    die();
  } else if (arguments[0] == "burn") {
    reportsUntilDeath = arguments[2].toInt();
    std::printf("begin\n");
    std::fflush(stdout);
    const std::int32_t status = burnToFlash(arguments[1].toUtf8().constData(), [](float) {
      if (reportsUntilDeath > 0 && --reportsUntilDeath == 0) {
        die();
      }
    });
    std::printf("burn %d\n", status);
  } else if (arguments[0] == "hold") {
    std::printf("holding\n");
    std::fflush(stdout);
    std::getchar();
  }
  show();
  return 0;
}
