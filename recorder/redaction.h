#pragma once

#include "recorder/call_image.h"

#include <map>
#include <span>
#include <string>

/// Removes private data from a recording, keeping its length:
/// serial numbers become pseudonyms, the bytes of MCU firmware become salted
/// hashes of the same sum. The same salt always gives the same bytes, so that a
/// replay can redact what the program sends and compare.
namespace recorder {

class Redaction {
 public:
  /// @param salt of the recording, as bytes
  explicit Redaction(std::string salt) : salt_(std::move(salt)) {}

  void redactInputs(CallImage& image) const;
  void redactOutputs(CallImage& image) const;

  /// Replaces each run of bytes that are not zero by letters and digits.
  void makePseudonym(std::span<std::uint8_t> text) const;

 private:
  void hide(std::span<std::uint8_t> payload) const;
  std::string salt_;
};

}  // namespace recorder
