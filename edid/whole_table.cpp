#include "edid/whole_table.h"

#include "edid/edid_blocks.h"

#include <algorithm>

namespace edid {

TableSize sizeFor(int bytes) {
  return bytes <= 256 ? TableSize::k256 : bytes <= 384 ? TableSize::k384 : TableSize::k512;
}

device::Result<QByteArray> readWholeTable(const TableReader& read) {
  constexpr int kLongestTable = 512;
  auto start = read(TableSize::k256);
  if (!start) {
    return start;
  }
  const int blocks = 1 + static_cast<std::uint8_t>(start->at(static_cast<int>(kExtensionCountAt)));
  const int bytes = std::min(blocks * static_cast<int>(kBlockSize), kLongestTable);
  const auto whole = bytes > start->size() ? read(sizeFor(bytes)) : start;
  return whole.map([bytes](const QByteArray& table) { return table.left(bytes); });
}

}  // namespace edid
