#pragma once

#include <tl/expected.hpp>

#include <cstdint>
#include <limits>

namespace device {

/// A call that failed. The device library's codes carry no meaning beyond that;
/// they are kept for messages.
struct Failure {
  std::int32_t status;

  bool operator==(const Failure&) const = default;
};

/// The status of a call that was not made, because its arguments do not fit.
inline constexpr std::int32_t kNotCalled = std::numeric_limits<std::int32_t>::min();

/// What every typed call gives back: a value, or nothing, or the failure.
template <typename Value = void>
using Result = tl::expected<Value, Failure>;

/// The failure of any call, ready to be returned.
inline tl::unexpected<Failure> failure(std::int32_t status) { return tl::unexpected<Failure>(Failure{status}); }

/// The result of an operation that gives nothing but its status.
inline Result<> resultOf(std::int32_t status) {
  if (status != 0) {
    return failure(status);
  }
  return {};
}

/// The status behind a result; 0 is success.
inline std::int32_t statusOf(const Result<>& result) { return result ? 0 : result.error().status; }

}  // namespace device
