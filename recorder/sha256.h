#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace recorder {

using Bytes = std::vector<std::uint8_t>;

/// SHA-256 (FIPS 180-4) of bytes that come piece by piece.
class Sha256 {
 public:
  using Digest = std::array<std::uint8_t, 32>;

  void add(std::span<const std::uint8_t> bytes);
  void add(std::string_view text);

  /// The hash of what was added so far; more may be added afterwards.
  Digest digest() const;
  std::string hex() const;

 private:
  static constexpr std::size_t kBlockSize = 64;
  void addBlock(const std::uint8_t* block);

  std::array<std::uint32_t, 8> state_{0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A,
                                      0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19};
  std::array<std::uint8_t, kBlockSize> rest_{};
  std::uint64_t length_ = 0;
};

/// Appends bytes as lower-case hexadecimal digits.
void appendHex(std::string& text, std::span<const std::uint8_t> bytes);

/// The bytes that lower-case hexadecimal digits represent.
std::optional<Bytes> bytesOfHex(std::string_view hex);

/// What a recording tells of a file instead of its content.
struct FileMark {
  bool readable = false;  ///< a regular file that could be read to its end
  std::uint64_t size = 0;
  std::string hash;  ///< SHA-256 in hexadecimal digits

  bool operator==(const FileMark&) const = default;
};

/// Size and hash of a file; hashed before it are the bytes of `salt`.
FileMark markOf(const std::filesystem::path& file, std::string_view salt = {});

/// The path for NUL-terminated UTF-8; empty for text that is not UTF-8.
std::filesystem::path pathOfUtf8(std::string_view utf8);

}  // namespace recorder
