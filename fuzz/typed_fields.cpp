/// @file
/// Types texts into the window's fields, then presses the buttons that use them. The
/// first byte selects read width, GPIO group and pin. NUL-terminated UTF-8 texts follow:
/// I2C address, register and value, GPIO value, vendor id, product id, serial number.
#include "device/RTICE_SDK_x64.h"
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "fuzz/window.h"
#include "simulator/control/control.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>

#include <algorithm>
#include <array>

namespace {

/// The number that a text stands for. Does not cover forms that are up to Qt's
/// conversion: a sign, a prefix, blanks inside.
std::uint32_t number(const QString& text) {
  const std::u16string letters = text.trimmed().toStdU16String();
  const auto isIn = [](std::u16string_view set) {
    return [set](char16_t letter) { return set.find(letter) != std::u16string_view::npos; };
  };
  constexpr std::u16string_view kDigits = u"0123456789abcdefABCDEF";
  if (std::all_of(letters.begin(), letters.end(), isIn(kDigits))) {
    std::uint64_t value = 0;
    for (const char16_t letter : letters) {
      const std::size_t digit = kDigits.find(letter);
      value = value * 16 + (digit < 16 ? digit : digit - 6);
      if (value > 0xFFFF'FFFF) {
        return 0;
      }
    }
    return static_cast<std::uint32_t>(value);
  }
  if (!std::all_of(letters.begin(), letters.end(), isIn(u"0123456789abcdefABCDEFxX+- \t\n\v\f\r\u0085\u00A0"))) {
    return 0;
  }
  return text.toUInt(nullptr, 16);
}

QString hex(std::uint32_t value, int digits) {
  return QString::number(value, 16).toUpper().rightJustified(digits, QLatin1Char('0'));
}

/// The number as bytes of two digits, most significant first, as few as possible.
QStringList busBytes(std::uint32_t value) {
  QStringList bytes;
  for (int shift = 24; shift >= 0; shift -= 8) {
    if (shift == 0 || value >> shift != 0) {
      bytes << hex(value >> shift & 0xFF, 2);
    }
  }
  return bytes;
}

/// Presses a button and returns the library calls.
QStringList callsOf(const char* button) {
  simulator::clearJournal();
  fuzz::widget<QAbstractButton>(button).click();
  QStringList calls;
  for (const simulator::JournalEntry& entry : simulator::journal()) {
    calls << QString::fromStdString(entry.operation + "(" + entry.arguments + ")");
  }
  return calls;
}

QString message() { return fuzz::widget<QLabel>("LB_Message").text(); }

/// Types a text into a field, which may refuse part of it. Returns the field's content.
QString type(const char* field, const QString& text) {
  auto& edit = fuzz::widget<QLineEdit>(field);
  edit.setText(text);
  return edit.text();
}

QString nextText(fuzz::Input& input) {
  const auto rest = input.rest();
  const auto length = static_cast<std::size_t>(std::find(rest.begin(), rest.end(), 0) - rest.begin());
  const std::vector<std::uint8_t> bytes = input.take(length);
  input.takeByte();
  return QString::fromUtf8(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
}

void checkI2c(int width, const QString& addressText, const QString& registerText, const QString& valueText) {
  const std::uint32_t address = number(addressText);
  const QStringList index = busBytes(number(registerText));
  QStringList written = index;
  written << busBytes(number(valueText));
  const QString slave = QStringLiteral("0x") + hex(address >> 1, 2);

  const QStringList writes = callsOf("BN_I2C_Write");
  if (address > 0xFF) {
    fuzz::require(writes.isEmpty() && message() == QLatin1String("Error Address...[Fail]"),
                  "an address of more than 8 bits is refused");
    fuzz::require(callsOf("BN_I2C_Read").isEmpty(), "for reading too");
    return;
  }
  fuzz::require(writes == QStringList(QStringLiteral("AT_System_Send_ExternalMCU_cmd(3, %1, %2, [%3])")
                                          .arg(slave)
                                          .arg(written.size())
                                          .arg(written.join(QLatin1Char(' ')))),
                "register and value go out in as few bytes as hold them");

  const QString before = fuzz::widget<QLineEdit>("lineEdit_I2C_Value").text();
  const QStringList reads = callsOf("BN_I2C_Read");
  fuzz::require(reads == QStringList(QStringLiteral("AT_System_Get_ExternalMCU_cmd(3, %1, %2, [%3], %4)")
                                         .arg(slave)
                                         .arg(index.size())
                                         .arg(index.join(QLatin1Char(' ')))
                                         .arg(width)),
                "a read sends the register and asks for the chosen width");
  const QString after = fuzz::widget<QLineEdit>("lineEdit_I2C_Value").text();
  if (message() == QLatin1String("I2C Error")) {
    fuzz::require(after == before, "a failed read leaves the value");
  } else {
    fuzz::require(after.size() == 2 * width, "a read shows two digits for each byte");
  }
}

void checkGpio(std::uint8_t group, int pin, const QString& text) {
  const std::uint32_t value = number(text) & 0xFF;
  fuzz::require(callsOf("BN_GPIO_Write") ==
                    QStringList(QStringLiteral("AT_GPIO_Set_Param(%1, %2, %3)").arg(group).arg(pin).arg(value)),
                "the low byte of a hexadecimal number goes to the pin");
  fuzz::require(callsOf("BN_GPIO_Read") == QStringList(QStringLiteral("AT_GPIO_Get_Param(%1, %2)").arg(group).arg(pin)),
                "the same pin is read");
  fuzz::require(fuzz::widget<QLineEdit>("lineEdit_GPIO_Value").text() == QString::number(value),
                "and shows the number, decimal");
}

void checkSerialNumber(const QString& text) {
  const QByteArray bytes = text.toUtf8();
  const QStringList calls = callsOf("BN_SN_Set");
  if (text.trimmed().isEmpty()) {
    fuzz::require(calls.isEmpty(), "blanks are no serial number");
    return;
  }
  fuzz::require(calls.size() == 1 && calls[0].startsWith(QLatin1String("AT_USB_Set_SerialNum([")) &&
                    calls[0].endsWith(QStringLiteral(", %1)").arg(bytes.size())),
                "a serial number goes out with its length");
  fuzz::require(bytes.size() > 1024 || calls[0].contains(QString::fromLatin1(bytes.toHex(' ').toUpper())),
                "as it was typed, blanks around it included");
}

void checkIds(const QString& vid, const QString& pid) {
  const QStringList calls = callsOf("BN_Connect");
  if (vid.trimmed().isEmpty() || pid.trimmed().isEmpty()) {
    fuzz::require(calls.isEmpty(), "without ids there is nothing to connect to");
    return;
  }
  fuzz::require(
      calls.value(0) == QLatin1String("initialize()") &&
          calls.value(1) == QStringLiteral("setDevice(0, 0, 0x%1, 0x%2)").arg(hex(number(vid), 4), hex(number(pid), 4)),
      "the ids are those in the fields");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::array<const char*, 4> kWidths{"RB_I2C_Read_1B", "RB_I2C_Read_2B", "RB_I2C_Read_3B", "RB_I2C_Read_4B"};
  simulator::reset();
  simulator::useVirtualTime();
  // Connecting to the other model, which is not plugged in, ends the window's session.
  fuzz::widget<QComboBox>("CB_DeviceType").setCurrentIndex(0);
  fuzz::widget<QComboBox>("CB_DeviceType").setCurrentIndex(1);
  fuzz::widget<QAbstractButton>("BN_Connect").click();
  fuzz::require(initialize() == 0 && setDevice(0, 0, 0x5C19, 0x6B03) == 0 && openPort() == 0,
                "the device can be opened");

  fuzz::Input input({data, size});
  const std::uint8_t control = input.takeByte();
  const unsigned width = control & 3;
  const std::uint8_t group = control >> 2 & 1;
  const int pin = (control >> 3) % 14;
  fuzz::widget<QRadioButton>(kWidths[width]).setChecked(true);
  fuzz::widget<QRadioButton>(group == 0 ? "RB_GPIO_ISO" : "RB_GPIO_MISC").setChecked(true);
  fuzz::widget<QComboBox>("CB_GPIO_INDEX").setCurrentIndex(pin);

  const QString address = type("lineEdit_I2C_Addr", nextText(input));
  const QString index = type("lineEdit_I2C_Reg", nextText(input));
  const QString value = type("lineEdit_I2C_Value", nextText(input));
  checkI2c(static_cast<int>(width) + 1, address, index, value);
  checkGpio(group, pin, type("lineEdit_GPIO_Value", nextText(input)));
  const QString vid = type("Edit_VID", nextText(input));
  const QString pid = type("Edit_PID", nextText(input));
  checkSerialNumber(type("lineEdit_SN", nextText(input)));
  closePort();
  uninitialize();
  checkIds(vid, pid);
  return 0;
}
