#pragma once

#include "simulator/control/records.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <span>
#include <vector>

namespace simulator {

/// Stands between the device and whoever calls it, and lies as it was told to;
/// tells the truth until then.
class Liar {
 public:
  /// @throws std::invalid_argument for a rate above 1000
  void start(const Lies& lies);
  const std::vector<Transfer>& transfers() const { return transfers_; }

  /// An operation that is one transfer: runs `body`, or lies about it.
  /// @param call   the call's number
  /// @param output what `body` fills of the caller's; empty for an operation that writes
  std::int32_t transfer(std::size_t call, std::span<std::uint8_t> output, const std::function<std::int32_t()>& body);

  // For an operation with many transfers, each of which begins so.
  /// @return whether the device acknowledges it
  bool begin(std::size_t call);
  /// @return whether the transfer's write is to be left out
  bool swallows();

  /// What arrives of the bytes that are written in the transfer.
  std::vector<std::uint8_t> arriving(std::span<const std::uint8_t> bytes);

 private:
  bool happens(unsigned perMille);
  std::size_t below(std::size_t limit);
  void flip(std::span<std::uint8_t> bytes);
  std::int32_t read(std::span<const std::uint8_t> before, std::span<std::uint8_t> output, std::int32_t status);

  std::optional<Lies> lies_;
  std::mt19937_64 random_;
  std::vector<Transfer> transfers_;
};

}  // namespace simulator
