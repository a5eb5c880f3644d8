#pragma once

#include "edid/edid_calls.h"

#include <functional>

/// Tables of a length that only they tell.
namespace edid {

/// Reads as many bytes of a device table as requested.
using TableReader = std::function<device::Result<QByteArray>(TableSize)>;

/// The smallest size that so many bytes fit into; the largest for more than 512.
TableSize sizeFor(int bytes);

/// Reads a table as long as it says itself, at most 512 bytes: one library call,
/// two for a table of more than two blocks. Calls as `read` does.
device::Result<QByteArray> readWholeTable(const TableReader& read);

}  // namespace edid
