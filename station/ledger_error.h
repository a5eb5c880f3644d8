#pragma once

#include <QString>

#include <cstdint>

namespace station {

/// Why the ledger did not do what was asked.
struct LedgerError {
  enum class Kind : std::uint8_t {
    kMissing,    ///< there is no such file, or it vanished
    kNoLedger,   ///< it is something else
    kNewer,      ///< of a newer format
    kReadOnly,   ///< it cannot be written
    kFull,       ///< no room on the disk
    kBusy,       ///< another program holds it for too long
    kDamaged,    ///< what SQLite or the chain finds wrong
    kRefused,    ///< a rule of the ledger forbids it; nothing was recorded
    kExhausted,  ///< no serial number or key is left
    kOther,
  };
  Kind kind = Kind::kOther;
  QString message;  ///< one line without a full stop, with the file's name
};

}  // namespace station
