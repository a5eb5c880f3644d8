#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <algorithm>

/// What an upgrade of the external MCU must do on the bus, written independently of the
/// program's code, with the busy times of the simulated MCU at normal speed.
namespace upgrade_reference {

struct Family {
  const char* code;  // as a scenario names it
  int blockSize;
  quint32 firstAddress;
  int busyPollsAfterBlock;  // while the simulated MCU programs a page
};

inline constexpr Family kFamilies[] = {{"2", 1024, 0x08005000, 5}, {"v", 128, 0, 1}};

inline QString hexBytes(const QByteArray& bytes) { return QString::fromLatin1(bytes.toHex(' ').toUpper()); }

inline QString get(const char* slave, const char* index) {
  return QStringLiteral("AT_System_Get_ExternalMCU_cmd(3, %1, 1, [%2], 1)").arg(slave, index);
}

inline QString send(const char* slave, const QByteArray& bytes) {
  return QStringLiteral("AT_System_Send_ExternalMCU_cmd(3, %1, %2, [%3])")
      .arg(slave)
      .arg(bytes.size())
      .arg(hexBytes(bytes));
}

inline QByteArray packet(int command, const QByteArray& payload = {}) {
  QByteArray packet("\x00\x5A", 2);
  packet += static_cast<char>(command);
  packet += payload + QByteArray(64 - payload.size(), '\0');
  int sum = 0;
  for (const char byte : packet) {
    sum += static_cast<unsigned char>(byte);
  }
  return packet + static_cast<char>(sum % 256);
}

inline QByteArray addressPacket(quint32 address) {
  QByteArray payload;
  for (const int shift : {24, 16, 8, 0}) {
    payload += static_cast<char>(address >> shift & 0xFFU);
  }
  return packet(0xA2, payload);
}

inline QStringList polls(int busy) {
  QStringList log;
  for (int i = 0; i < busy; ++i) {
    log << get("0x43", "01") << "pause(5)";
  }
  return log << get("0x43", "01");
}

inline int blockCount(const Family& family, const QByteArray& image) {
  return (image.size() + family.blockSize - 1) / family.blockSize;
}

inline QByteArray padded(const Family& family, const QByteArray& image) {
  return image + QByteArray(blockCount(family, image) * family.blockSize - image.size(), '\0');
}

/// Calls and pauses of an upgrade without a fault.
inline QStringList busLog(const Family& family, const QByteArray& image, bool inApplication) {
  QStringList log{get("0x0D", "00")};
  if (inApplication) {
    log << send("0x0D", QByteArray("\x08\x01", 2)) << "pause(1000)" << send("0x43", QByteArray("\x01\x01", 2))
        << polls(4);
  } else {
    log << get("0x43", "00");
  }
  const auto control = [&log](const QByteArray& packet) {
    log << send("0x43", packet) << "pause(50)" << get("0x43", "02") << polls(0);
  };
  for (int i = 0; i < 10; ++i) {
    control(packet(0xA1));
  }
  const QByteArray content = padded(family, image);
  for (int offset = 0; offset < content.size(); offset += family.blockSize) {
    control(addressPacket(family.firstAddress + static_cast<quint32>(offset)));
    for (int piece = 0; piece < family.blockSize; piece += 64) {
      log << send("0x43", packet(0xA3, content.mid(offset + piece, 64))) << get("0x43", "02")
          << polls(piece + 64 == family.blockSize ? family.busyPollsAfterBlock : 0);
    }
  }
  control(packet(0xA4));
  // The MCU has verified its flash before the first poll.
  return log;
}

/// Texts of an upgrade without a fault.
inline QStringList texts(const Family& family, const QByteArray& image, bool inApplication) {
  QStringList texts{"Start..."};
  const int blocks = blockCount(family, image);
  if (inApplication) {
    texts << "MCU into boot" << QStringLiteral("Update Count%1...").arg(blocks);
  }
  for (int block = 0; block < blocks; ++block) {
    texts << QStringLiteral("Update %1%...").arg(block * 100 / blocks);
  }
  return texts << "MCU Update Done...[Success]";
}

}  // namespace upgrade_reference
