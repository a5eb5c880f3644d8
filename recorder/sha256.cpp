#include "recorder/sha256.h"

#include <algorithm>
#include <bit>
#include <fstream>
#include <system_error>

namespace recorder {
namespace {

constexpr std::array<std::uint32_t, 64> kRoundConstants{
    0x428A2F98, 0x71374491, 0xB5C0FBCF, 0xE9B5DBA5, 0x3956C25B, 0x59F111F1, 0x923F82A4, 0xAB1C5ED5,
    0xD807AA98, 0x12835B01, 0x243185BE, 0x550C7DC3, 0x72BE5D74, 0x80DEB1FE, 0x9BDC06A7, 0xC19BF174,
    0xE49B69C1, 0xEFBE4786, 0x0FC19DC6, 0x240CA1CC, 0x2DE92C6F, 0x4A7484AA, 0x5CB0A9DC, 0x76F988DA,
    0x983E5152, 0xA831C66D, 0xB00327C8, 0xBF597FC7, 0xC6E00BF3, 0xD5A79147, 0x06CA6351, 0x14292967,
    0x27B70A85, 0x2E1B2138, 0x4D2C6DFC, 0x53380D13, 0x650A7354, 0x766A0ABB, 0x81C2C92E, 0x92722C85,
    0xA2BFE8A1, 0xA81A664B, 0xC24B8B70, 0xC76C51A3, 0xD192E819, 0xD6990624, 0xF40E3585, 0x106AA070,
    0x19A4C116, 0x1E376C08, 0x2748774C, 0x34B0BCB5, 0x391C0CB3, 0x4ED8AA4A, 0x5B9CCA4F, 0x682E6FF3,
    0x748F82EE, 0x78A5636F, 0x84C87814, 0x8CC70208, 0x90BEFFFA, 0xA4506CEB, 0xBEF9A3F7, 0xC67178F2};

std::uint32_t bigEndian(const std::uint8_t* bytes) {
  return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
         static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

int valueOfDigit(char digit) {
  if (digit >= '0' && digit <= '9') {
    return digit - '0';
  }
  return digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 : -1;
}

}  // namespace

void Sha256::addBlock(const std::uint8_t* block) {
  std::array<std::uint32_t, 64> w;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled below
  for (std::size_t i = 0; i < 16; ++i) {
    w[i] = bigEndian(block + 4 * i);
  }
  for (std::size_t i = 16; i < 64; ++i) {
    const std::uint32_t s0 = std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ (w[i - 15] >> 3);
    const std::uint32_t s1 = std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ (w[i - 2] >> 10);
    w[i] = w[i - 16] + s0 + w[i - 7] + s1;
  }
  auto [a, b, c, d, e, f, g, h] = state_;
  for (std::size_t i = 0; i < 64; ++i) {
    const std::uint32_t s1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
    const std::uint32_t first = h + s1 + ((e & f) ^ (~e & g)) + kRoundConstants[i] + w[i];
    const std::uint32_t s0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
    const std::uint32_t second = s0 + ((a & b) ^ (a & c) ^ (b & c));
    h = g;
    g = f;
    f = e;
    e = d + first;
    d = c;
    c = b;
    b = a;
    a = first + second;
  }
  const std::array<std::uint32_t, 8> worked{a, b, c, d, e, f, g, h};
  for (std::size_t i = 0; i < 8; ++i) {
    state_[i] += worked[i];
  }
}

void Sha256::add(std::span<const std::uint8_t> bytes) {
  std::size_t held = length_ % kBlockSize;
  length_ += bytes.size();
  while (!bytes.empty()) {
    if (held == 0 && bytes.size() >= kBlockSize) {
      addBlock(bytes.data());
      bytes = bytes.subspan(kBlockSize);
      continue;
    }
    const std::size_t taken = std::min(bytes.size(), kBlockSize - held);
    std::copy_n(bytes.begin(), taken, rest_.begin() + static_cast<std::ptrdiff_t>(held));
    bytes = bytes.subspan(taken);
    held += taken;
    if (held == kBlockSize) {
      addBlock(rest_.data());
      held = 0;
    }
  }
}

void Sha256::add(std::string_view text) {
  add(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

Sha256::Digest Sha256::digest() const {
  Sha256 padded = *this;
  std::array<std::uint8_t, kBlockSize + 8> padding{0x80};
  const std::size_t held = length_ % kBlockSize;
  const std::size_t zeros = (held < 56 ? 56 : 56 + kBlockSize) - held;
  const std::uint64_t bits = length_ * 8;
  padded.add(std::span(padding).first(zeros));
  std::array<std::uint8_t, 8> size{};
  for (std::size_t i = 0; i < 8; ++i) {
    size[i] = static_cast<std::uint8_t>(bits >> (56 - 8 * i));
  }
  padded.add(size);
  Digest digest{};
  for (std::size_t i = 0; i < digest.size(); ++i) {
    digest[i] = static_cast<std::uint8_t>(padded.state_[i / 4] >> (24 - 8 * (i % 4)));
  }
  return digest;
}

std::string Sha256::hex() const {
  std::string text;
  appendHex(text, digest());
  return text;
}

void appendHex(std::string& text, std::span<const std::uint8_t> bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const std::size_t start = text.size();
  text.resize(start + 2 * bytes.size());
  char* to = text.data() + start;
  for (const std::uint8_t byte : bytes) {
    *to++ = kDigits[byte >> 4];
    *to++ = kDigits[byte & 0xF];
  }
}

std::optional<Bytes> bytesOfHex(std::string_view hex) {
  if (hex.size() % 2 != 0) {
    return std::nullopt;
  }
  Bytes bytes;
  bytes.reserve(hex.size() / 2);
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    const int high = valueOfDigit(hex[i]);
    const int low = valueOfDigit(hex[i + 1]);
    if (high < 0 || low < 0) {
      return std::nullopt;
    }
    bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
  }
  return bytes;
}

FileMark markOf(const std::filesystem::path& file, std::string_view salt) {
  FileMark mark;
  std::error_code error;
  // Reading a pipe would take from the program what it is to read itself.
  if (file.empty() || !std::filesystem::is_regular_file(file, error)) {
    return mark;
  }
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    return mark;
  }
  Sha256 hash;
  hash.add(salt);
  std::vector<char> piece(65536);
  while (stream) {
    stream.read(piece.data(), static_cast<std::streamsize>(piece.size()));
    const auto count = static_cast<std::size_t>(stream.gcount());
    hash.add(std::string_view(piece.data(), count));
    mark.size += count;
  }
  mark.readable = stream.eof();
  mark.hash = hash.hex();
  return mark;
}

std::filesystem::path pathOfUtf8(std::string_view utf8) {
  try {
    return std::u8string(utf8.begin(), utf8.end());
  } catch (const std::system_error&) {
    return {};  // not UTF-8, on a system where paths are not bytes
  }
}

}  // namespace recorder
