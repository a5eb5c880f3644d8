#pragma once

#include "device/result.h"

#include <QByteArray>

#include <cstdint>
#include <span>

/// The device's EDID tables and modes. One library call each; any thread.
namespace edid {

/// The sizes in which the device gives a table, in bytes.
enum class TableSize : std::uint32_t { k256 = 256, k384 = 384, k512 = 512 };

/// Number of slots in the flash.
inline constexpr std::uint8_t kSlotCount = 7;

/// Mode: 0 = from flash, 1 = follow TX, 2 = follow USB, 3 = mixed default and TX.
device::Result<std::uint8_t> readMode();
device::Result<> setMode(std::int32_t mode);

/// The flash slot in use, 0 to 6.
device::Result<std::uint8_t> readDefaultSlot();
device::Result<> setDefaultSlot(std::uint8_t slot);

/// The table of a flash slot, 0 to 6. All tables are as long as asked for.
device::Result<QByteArray> readFlashTable(std::uint8_t slot, TableSize size);
/// @param table at most 512 bytes (`kMaxTableSize`)
device::Result<> writeFlashTable(std::uint8_t slot, std::span<const std::uint8_t> table);

/// The table of the sink at the transmitter.
device::Result<QByteArray> readSinkTable(TableSize size);

/// The table that the receiver offers to its source.
device::Result<QByteArray> readDdcTable(TableSize size);

}  // namespace edid
