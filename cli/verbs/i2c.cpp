#include "cli/change.h"
#include "cli/device_session.h"
#include "cli/failure.h"
#include "cli/readings.h"
#include "cli/verb.h"
#include "device/ext_mcu_channel.h"
#include "device/hex.h"
#include "diag/i2c_bytes.h"
#include "video/video_calls.h"

namespace cli {
namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t kLargestAddress = 0x7F;
constexpr int kMostBytes = 256;
constexpr std::uint32_t kDumpPiece = 16;

/// The arguments of every command on the bus.
struct Target {
  std::uint8_t slave;
  int registerBytes;  // 0 = as few as hold the number

  QByteArray registerIndex(std::uint32_t number) const {
    const QByteArray shortest = diag::bigEndianBytes(number);
    return QByteArray(std::max(0, registerBytes - static_cast<int>(shortest.size())), '\0') + shortest;
  }
};

QString hexText(std::uint32_t number, int digits = 2) {
  return QStringLiteral("0x%1").arg(QString::number(number, 16).toUpper().rightJustified(digits, '0'));
}

// As in the window, numbers of the bus are hexadecimal, with or without 0x.
std::uint32_t hexArgument(const QString& text, const char* what, std::uint32_t most) {
  const auto number = device::parseHex(text);
  if (!number || *number > most) {
    throw Failure(ExitCode::kUsage, QStringLiteral("%1 must be a hexadecimal number up to %2, not \"%3\"")
                                        .arg(QLatin1String(what), QString::number(most, 16).toUpper(), text));
  }
  return *number;
}

Target targetArgument(const Arguments& arguments) {
  std::uint32_t address = hexArgument(arguments.text("ADDR"), "ADDR", 0xFF);
  if (arguments.has("addr8")) {
    address >>= 1;
  } else if (address > kLargestAddress) {
    Failure failure(ExitCode::kRefused,
                    QStringLiteral("%1 is no 7-bit address; as an 8-bit one it is %2: give that, or --addr8")
                        .arg(hexText(address), hexText(address >> 1)));
    throw failure;
  }
  const int registerBytes = arguments.has("reg-bytes") ? static_cast<int>(arguments.number("reg-bytes", 1, 4)) : 0;
  return {static_cast<std::uint8_t>(address), registerBytes};
}

std::uint32_t registerArgument(const Target& target, const QString& text, const char* what) {
  const std::uint32_t most = target.registerBytes == 0 || target.registerBytes == 4
                                 ? 0xFFFFFFFF
                                 : (std::uint32_t{1} << (8 * target.registerBytes)) - 1;
  return hexArgument(text, what, most);
}

Value byteList(const QByteArray& bytes) {
  Value::List list;
  for (const char byte : bytes) {
    list.emplace_back(static_cast<std::uint8_t>(byte));
  }
  return list;
}

QByteArray bytesOf(const Value& list) {
  QByteArray bytes;
  for (const Value& byte : list.list()) {
    bytes += static_cast<char>(byte.number());
  }
  return bytes;
}

QString spacedHex(const QByteArray& bytes) { return QString::fromLatin1(bytes.toHex(' ').toUpper()); }

void getRegister(Run& run, const Arguments& arguments) {
  const Target target = targetArgument(arguments);
  const std::uint32_t number = registerArgument(target, arguments.text("REG"), "REG");
  const int count = arguments.has("LEN") ? static_cast<int>(arguments.number("LEN", 1, kMostBytes)) : 1;
  const DeviceSession session(run);
  const auto bytes = diag::readRegister(target.slave, target.registerIndex(number), count);
  if (!bytes) {
    throw Failure(ExitCode::kFailed,
                  QStringLiteral("no answer from %1 (%2)").arg(hexText(target.slave), reasonOf(bytes.error())));
  }
  Document document("i2c");
  document.addQuietly("address", target.slave);
  document.addQuietly("register", number);
  document.addQuietly("bytes", byteList(*bytes));
  document.addText(spacedHex(*bytes));
  run.finish(document);
}

/// Writing here can leave the device without firmware, or without its ids.
bool isDelicate(std::uint8_t slave) {
  constexpr std::uint8_t kFirstEeprom = 0x50;
  constexpr std::uint8_t kLastEeprom = 0x57;
  return slave == device::kMcuApplication || slave == device::kMcuBootLoader ||
         (slave >= kFirstEeprom && slave <= kLastEeprom);
}

QByteArray bytesArgument(const Arguments& arguments) {
  QByteArray bytes;
  for (const QString& text : arguments.list("BYTE")) {
    bytes += static_cast<char>(hexArgument(text, "BYTE", 0xFF));
  }
  if (bytes.size() > kMostBytes) {
    throw Failure(ExitCode::kUsage, QStringLiteral("at most %1 bytes at once").arg(kMostBytes));
  }
  return bytes;
}

// An EEPROM does not answer while it stores what it got.
device::Result<Value> readPatiently(const Run& run, std::uint8_t slave, const QByteArray& index, int count) {
  constexpr int kAttempts = 4;
  auto bytes = diag::readRegister(slave, index, count);
  for (int i = 1; i < kAttempts && !bytes; ++i) {
    run.console().pause(5ms);
    bytes = diag::readRegister(slave, index, count);
  }
  return bytes.map(byteList);
}

void setRegister(Run& run, const Arguments& arguments) {
  const Target target = targetArgument(arguments);
  const std::uint32_t number = registerArgument(target, arguments.text("REG"), "REG");
  const QByteArray bytes = bytesArgument(arguments);
  const QByteArray index = target.registerIndex(number);
  const DeviceSession session(run);
  Change change;
  change.schema = "i2c";
  change.key = "bytes";
  change.label = QStringLiteral("%1 register %2").arg(hexText(target.slave), hexText(number));
  change.wanted = byteList(bytes);
  change.wantedText = spacedHex(bytes);
  change.show = [](const Value& list) { return spacedHex(bytesOf(list)); };
  // What the MCU gives back is not what was written to it: its registers are
  // commands.
  const bool isMcu = target.slave == device::kMcuApplication || target.slave == device::kMcuBootLoader;
  const int count = static_cast<int>(bytes.size());
  change.mayBeWriteOnly = true;
  if (!isMcu) {
    change.read = [&run, &index, slave = target.slave, count] { return readPatiently(run, slave, index, count); };
  }
  change.write = [&index, &bytes, slave = target.slave] { return diag::writeRegister(slave, index, bytes); };
  change.weight = isDelicate(target.slave) ? Weight::kIrreversible : Weight::kLasting;
  change.question = QStringLiteral("Write %1 to %2?").arg(change.wantedText, change.label);
  change.word = "raw";
  apply(run, change);
}

QString dumpLine(std::uint32_t from, const QByteArray& bytes) {
  QString letters;
  for (const char byte : bytes) {
    letters += byte >= 0x20 && byte < 0x7F ? QChar::fromLatin1(byte) : QChar('.');
  }
  return QStringLiteral("%1  %2  %3")
      .arg(QString::number(from, 16).toUpper().rightJustified(4, '0'), spacedHex(bytes).leftJustified(47), letters);
}

void dumpRegisters(Run& run, const Arguments& arguments) {
  Target target = targetArgument(arguments);
  const QStringList ends = arguments.text("FROM-TO").split('-');
  const std::uint32_t from = registerArgument(target, ends.value(0), "FROM");
  const std::uint32_t to = registerArgument(target, ends.value(1), "TO");
  constexpr std::uint32_t kMostRegisters = 65536;
  if (ends.size() != 2 || from > to || to - from >= kMostRegisters) {
    throw Failure(ExitCode::kUsage,
                  QStringLiteral("FROM-TO must name at most %1 registers, the lower one first").arg(kMostRegisters));
  }
  // All of them are on one chip, so the last one's width is that of each.
  target.registerBytes = std::max(target.registerBytes, static_cast<int>(diag::bigEndianBytes(to).size()));
  const DeviceSession session(run);
  Document document("i2c");
  document.addQuietly("address", target.slave);
  document.addQuietly("register", from);
  QByteArray all;
  for (std::uint32_t at = from; at <= to && at >= from; at += kDumpPiece) {
    run.stopIfInterrupted();
    const int count = static_cast<int>(std::min(kDumpPiece, to - at + 1));
    const auto piece = diag::readRegister(target.slave, target.registerIndex(at), count);
    if (!piece) {
      throw Failure(ExitCode::kFailed, QStringLiteral("no answer from %1 at register %2 (%3)")
                                           .arg(hexText(target.slave), hexText(at), reasonOf(piece.error())));
    }
    all += *piece;
    document.addText(dumpLine(at, *piece));
  }
  document.addQuietly("bytes", byteList(all));
  run.finish(document);
}

void scanBus(Run& run, const Arguments&) {
  // The others are reserved.
  constexpr std::uint8_t kFirst = 0x08;
  constexpr std::uint8_t kLast = 0x77;
  const DeviceSession session(run);
  Value::List found;
  QStringList lines;
  for (std::uint8_t slave = kFirst; slave <= kLast; ++slave) {
    run.stopIfInterrupted();
    if (diag::readRegister(slave, QByteArray(1, '\0'), 1)) {
      found.emplace_back(slave);
      lines << QStringLiteral("%1 (8-bit: %2)").arg(hexText(slave), hexText(slave * 2U));
    }
  }
  // Perhaps it was the device that did not answer, not those on its bus.
  if (const auto source = video::readInputSource(); !source) {
    throw Failure(ExitCode::kFailed, QStringLiteral("the device does not answer (%1)").arg(reasonOf(source.error())));
  }
  Document document("i2c");
  document.addQuietly("addresses", found);
  document.addText(lines.isEmpty() ? QString("nobody answers") : lines.join('\n'));
  run.finish(document);
}

}  // namespace

Command i2cVerb() {
  using Takes = Option::Takes;
  const auto given = [](const char* name, const char* help) { return Option{name, help, Takes::kValue, "", {}, true}; };
  const Option address = given("ADDR", "The 7-bit address, hexadecimal");
  const Option number = given("REG", "The register, hexadecimal");
  const Option width{"--reg-bytes", "Send the register in this many bytes, 1 to 4", Takes::kValue, "N"};
  const Option eightBits{"--addr8", "ADDR is an 8-bit address, as in the window"};
  Command verb{"i2c", "Read and write registers on the device's I2C bus; numbers are hexadecimal"};
  verb.commands = {
      {"get",
       "Read LEN bytes from a register on",
       {address, number, {"LEN", "How many, decimal (default: 1)", Takes::kValue}, width, eightBits},
       {},
       getRegister},
      {"set",
       "Write bytes to a register; asks for the word \"raw\" at the MCU and at EEPROMs",
       {address, number, {"BYTE", "The bytes, hexadecimal", Takes::kValues, "", {}, true}, width, eightBits},
       {},
       setRegister},
      {"dump",
       "Read a range of registers",
       {address, given("FROM-TO", "The first and the last register, hexadecimal"), width, eightBits},
       {},
       dumpRegisters},
      {"scan", "List the addresses at which somebody answers", {}, {}, scanBus},
  };
  return verb;
}

}  // namespace cli
