#pragma once

#include "device/operations.h"
#include "recorder/raw_call.h"
#include "recorder/sha256.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace recorder {

/// Longest piece of a buffer that is recorded, in bytes. No operation needs as
/// much; a caller that claims more gets its call forwarded, and cut here.
inline constexpr std::size_t kMaxBufferSize = 65536;

/// What goes into a call in one parameter.
struct Input {
  enum class Kind : std::uint8_t {
    kNothing,   ///< an output buffer: nothing goes in
    kNull,      ///< a null pointer
    kNumber,    ///< `number`
    kBytes,     ///< `bytes`
    kFile,      ///< `file`: a path, told by what the file holds
    kCallback,  ///< a callback that is not null
  };
  Kind kind = Kind::kNothing;
  std::int64_t number = 0;
  Bytes bytes;
  FileMark file;

  bool operator==(const Input&) const = default;
};

/// The bytes of an output buffer that a call changed: the run from the first to
/// the last of them. Empty when none changed.
struct OutputRun {
  std::size_t offset = 0;
  Bytes bytes;

  bool operator==(const OutputRun&) const = default;
};

/// A call as a recording tells it, by parameter.
struct CallImage {
  device::Operation operation = device::Operation::initialize;
  std::array<Input, device::OperationDescription::kMaxParameters> inputs;
  std::array<OutputRun, device::OperationDescription::kMaxParameters> outputs;
  std::int32_t result = 0;

  const device::OperationDescription& description() const { return device::describe(operation); }
};

/// Size of the buffer that a parameter points to, as the arguments tell it and
/// at most `kMaxBufferSize`.
std::size_t bufferSize(const device::Parameter& parameter, std::span<const RawArgument> arguments);

/// The bytes at an argument's address; none for a null pointer.
std::span<std::uint8_t> bufferAt(const device::Parameter& parameter, std::size_t index,
                                 std::span<const RawArgument> arguments);

/// Notes what goes into a call. Reads the files that it names.
/// @param keySalt hashed before the content of a key file
void noteInputs(CallImage& image, device::Operation operation, std::span<const RawArgument> arguments,
                std::string_view keySalt);

/// Finds out what a call changes in the caller's buffers.
class OutputWatch {
 public:
  /// Keeps a copy of the buffers' content.
  void begin(const device::OperationDescription& operation, std::span<const RawArgument> arguments);
  /// Notes what has changed since.
  void end(CallImage& image, std::span<const RawArgument> arguments) const;

 private:
  std::array<Bytes, device::OperationDescription::kMaxParameters> before_;
};

/// Puts a recorded output into a buffer, as far as it fits.
void putOutput(const OutputRun& run, std::span<std::uint8_t> buffer);

}  // namespace recorder
