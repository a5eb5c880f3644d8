#include "edid/edid_calls.h"

#include "device/RTICE_SDK_x64.h"
#include "device/answer.h"
#include "edid/edid_file.h"

namespace edid {
namespace {

/// @param read gets a buffer and its size in bytes, and returns the status
template <typename Read>
device::Result<QByteArray> tableFrom(TableSize size, Read read) {
  device::Answer<std::array<std::uint8_t, kMaxTableSize>> table;
  const auto bytes = static_cast<std::uint32_t>(size);
  if (const std::int32_t status = read(table.value.data(), bytes); status != 0) {
    return device::failure(status);
  }
  return QByteArray(reinterpret_cast<const char*>(table.value.data()), static_cast<int>(bytes));
}

}  // namespace

device::Result<std::uint8_t> readMode() { return device::readNumber(AT_EDID_Get_EDID_mode); }

device::Result<> setMode(std::int32_t mode) { return device::resultOf(AT_EDID_Set_EDID_mode(mode)); }

device::Result<std::uint8_t> readDefaultSlot() { return device::readNumber(AT_EDID_Flash_Get_Default_table); }

device::Result<> setDefaultSlot(std::uint8_t slot) { return device::resultOf(AT_EDID_Flash_Set_Default_table(slot)); }

device::Result<QByteArray> readFlashTable(std::uint8_t slot, TableSize size) {
  return tableFrom(
      size, [slot](std::uint8_t* buffer, std::uint32_t bytes) { return AT_EDID_Flash_Get_table(slot, buffer, bytes); });
}

device::Result<> writeFlashTable(std::uint8_t slot, std::span<const std::uint8_t> table) {
  if (table.size() > static_cast<std::size_t>(kMaxTableSize)) {
    return device::failure(device::kNotCalled);
  }
  return device::resultOf(AT_EDID_Flash_Set_table(slot, table.data(), static_cast<std::uint32_t>(table.size())));
}

device::Result<QByteArray> readSinkTable(TableSize size) {
  return tableFrom(size, [](std::uint8_t* buffer, std::uint32_t bytes) { return AT_EDID_Get_TX_table(bytes, buffer); });
}

device::Result<QByteArray> readDdcTable(TableSize size) {
  return tableFrom(size,
                   [](std::uint8_t* buffer, std::uint32_t bytes) { return AT_EDID_DDC_Get_RX_table(bytes, buffer); });
}

}  // namespace edid
