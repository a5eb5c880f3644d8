#pragma once

#include "cli/run.h"

#include <functional>
#include <utility>
#include <vector>

namespace cli {

/// One value of the device that a command sets.
struct Change {
  QString schema;  ///< name of the result's document
  QString key;     ///< its member that holds the value
  QString label;
  Value wanted;
  QString wantedText = {};  ///< as people see it; empty = the value
  /// Makes a text of a value for people; empty = the value as it is.
  std::function<QString(const Value&)> show = {};
  /// What else the result says, for programs.
  Value::Members more = {};
  /// What else it says, for people: labels and texts.
  std::vector<std::pair<QString, QString>> notes = {};
  /// Reads the value back; empty when the device cannot tell it.
  std::function<device::Result<Value>()> read = {};
  /// A value that cannot be read before need not be readable after: then the
  /// device's word is all there is.
  bool mayBeWriteOnly = false;
  std::function<device::Result<>()> write;
  Weight weight = Weight::kHarmless;
  QString question = {};  ///< what to ask before it, for example "Write the serial number X?"
  QString word = {};      ///< of an irreversible change
};

/// The outcome of reading a value back.
enum class ReadBack { kAsWanted, kOtherwise, kUnreadable };

/// Reads until it is clear whether the value is the wanted one: once, and after
/// a mismatch or a failure three times more, of which two decide.
/// @param last receives the last value that differed
ReadBack readBack(const std::function<device::Result<Value>()>& read, const Value& wanted, Value* last);

/// Makes the change: nothing is written when the value is right already; what is
/// written is read back. Prints the result.
/// @throws Failure
void apply(Run& run, const Change& change);

}  // namespace cli
