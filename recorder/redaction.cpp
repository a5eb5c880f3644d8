#include "recorder/redaction.h"

#include "recorder/packets.h"
#include "recorder/sha256.h"

#include <algorithm>
#include <numeric>
#include <string_view>

namespace recorder {
namespace {

using device::Operation;

constexpr std::size_t kSerialBuffer = 0;  // parameters of AT_USB_Get_SerialNum
constexpr std::size_t kSerialLength = 2;

// As many hash bytes as are asked for.
void fillWithHash(std::string_view salt, std::span<const std::uint8_t> content, std::span<std::uint8_t> to) {
  for (std::size_t done = 0, block = 0; done < to.size(); ++block) {
    Sha256 hash;
    hash.add(salt);
    hash.add(content);
    hash.add(std::to_string(block));
    const Sha256::Digest digest = hash.digest();
    const std::size_t count = std::min(digest.size(), to.size() - done);
    std::copy_n(digest.begin(), count, to.begin() + static_cast<std::ptrdiff_t>(done));
    done += count;
  }
}

std::uint8_t sumOf(std::span<const std::uint8_t> bytes) {
  return static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U));
}

// The length that the library told, when it can be one of a text in the run.
std::size_t toldLength(const CallImage& image, std::size_t size) {
  const OutputRun& length = image.outputs[kSerialLength];
  const OutputRun& text = image.outputs[kSerialBuffer];
  std::size_t told = 0;
  if (length.offset + length.bytes.size() > 4 || length.bytes.empty()) {
    return size;
  }
  for (std::size_t i = length.bytes.size(); i-- > 0;) {
    told = told << 8 | length.bytes[i];
  }
  told <<= 8 * length.offset;
  return told < text.offset ? 0 : std::min(told - text.offset, size);
}

}  // namespace

void Redaction::makePseudonym(std::span<std::uint8_t> text) const {
  constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  auto start = text.begin();
  while (start != text.end()) {
    start = std::find_if(start, text.end(), [](std::uint8_t byte) { return byte != 0; });
    const auto end = std::find(start, text.end(), std::uint8_t{0});
    const Bytes content(start, end);
    const std::span<std::uint8_t> piece(start, end);
    fillWithHash(salt_, content, piece);
    std::transform(piece.begin(), piece.end(), piece.begin(),
                   [&](std::uint8_t byte) { return static_cast<std::uint8_t>(kLetters[byte % kLetters.size()]); });
    start = end;
  }
}

void Redaction::hide(std::span<std::uint8_t> payload) const {
  const Bytes content(payload.begin(), payload.end());
  fillWithHash(salt_, content, payload);
  // Keeps the sum, and with it the packet's checksum.
  payload.back() = static_cast<std::uint8_t>(payload.back() + sumOf(content) - sumOf(payload));
}

void Redaction::redactInputs(CallImage& image) const {
  if (image.operation == Operation::AT_USB_Set_SerialNum) {
    makePseudonym(image.inputs[0].bytes);
  }
  const std::optional<SeenPacket> packet = packetOf(image);
  if (packet && packet->command == device::BootCommand::kData) {
    hide(std::span(image.inputs[3].bytes).subspan(kPacketPayload, device::kBootPayloadSize));
  }
}

void Redaction::redactOutputs(CallImage& image) const {
  if (image.operation != Operation::AT_USB_Get_SerialNum) {
    return;
  }
  const std::span<std::uint8_t> text = image.outputs[kSerialBuffer].bytes;
  const std::size_t length = toldLength(image, text.size());
  makePseudonym(text.first(length));
  makePseudonym(text.subspan(length));
}

}  // namespace recorder
