#include "tests/robustness/upgrade_rules.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <optional>
#include <string_view>
#include <utility>

namespace upgrade_rules {
namespace {

using simulator::JournalEntry;
using simulator::Transfer;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kPacketSize = 68;
constexpr std::uint8_t kStart = 0xA1;
constexpr std::uint8_t kFinish = 0xA4;

constexpr char kStatusRead[] = "3, 0x43, 1, [01], 1";
constexpr char kChecksumRead[] = "3, 0x43, 1, [02], 1";

enum class Status { kNotAsked, kBusy, kReady };

/// The bytes of "3, 0x43, 2, [01 1F]".
Bytes bytesIn(std::string_view arguments) {
  Bytes bytes;
  const std::size_t open = arguments.find('[');
  const auto digit = [](char c) { return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'A' + 10); };
  for (std::size_t i = open + 1; i + 1 < arguments.size() && arguments[i - 1] != ']'; i += 3) {
    bytes.push_back(static_cast<std::uint8_t>(digit(arguments[i]) * 16 + digit(arguments[i + 1])));
  }
  return bytes;
}

/// A packet that was sent.
struct Packet {
  Bytes sent;
  Bytes arrived;
  bool acknowledged;

  std::uint8_t checksum() const { return sent.back(); }
  bool arrivedWhole() const { return acknowledged && arrived == sent; }
  bool reachedItsRegister() const { return acknowledged && !arrived.empty() && arrived.front() == 0; }
  bool arrivedWithGoodSum() const {
    return reachedItsRegister() &&
           static_cast<std::uint8_t>(std::accumulate(arrived.begin() + 1, arrived.end() - 1, 0U)) == arrived.back();
  }
};

/// Why the boot loader did not take an accepted packet as it was sent.
struct Reason {
  std::string text;       // empty = there is none
  bool isCertain = true;  // false = the boot loader may have taken it after all
};

/// No reason for a packet that arrived intact and whose checksum was read back.
std::optional<Reason> reasonOf(const Packet& packet, const Transfer& read, bool readFailed) {
  const bool whole = packet.arrivedWhole();
  if (!whole && packet.arrivedWithGoodSum()) {
    return Reason{"bits flipped in a packet whose sum stayed as it was"};
  }
  if (readFailed) {
    return Reason{"packet not taken, and its checksum 0xFF taken from a failed read", !whole};
  }
  if (read.fault == simulator::FaultEffect::kMisread) {
    return Reason{"packet not taken, and flipped bits made the checksum read look right"};
  }
  if (read.fault == simulator::FaultEffect::kShort) {
    return Reason{"packet not taken, and its checksum 0x00 taken from a read that brought nothing", !whole};
  }
  if (whole) {
    return std::nullopt;
  }
  // A damaged packet changes the checksum register; a lost packet leaves it unchanged.
  return Reason{packet.reachedItsRegister() ? "" : "packet lost, and an earlier one had the same checksum"};
}

}  // namespace

Findings check(const std::vector<JournalEntry>& journal, const std::vector<Transfer>& transfers, bool success) {
  Findings findings;
  const auto breach = [&findings](const char* what) {
    if (findings.breach.empty()) {
      findings.breach = what;
    }
  };
  std::vector<std::string> uncertain;
  std::optional<Packet> packet;       // sent last, not yet checked
  Status status = Status::kNotAsked;  // as reported by the boot loader since the last check
  std::uint8_t acceptedCommand = 0;   // of the last check
  for (std::size_t i = 0; i < transfers.size(); ++i) {
    const Transfer& transfer = transfers[i];
    const JournalEntry& entry = journal.at(transfer.call);
    if (entry.operation == "AT_System_Send_ExternalMCU_cmd") {
      Bytes bytes = bytesIn(entry.arguments);
      if (bytes.size() != kPacketSize) {
        continue;  // reset and set-boot
      }
      if (packet) {
        breach("a packet follows one that was not checked");
      }
      if (status == Status::kBusy) {
        breach("a packet was sent to a boot loader that did not say that it was ready");
      }
      packet = Packet{std::move(bytes), transfer.bytes, entry.result == 0};
      continue;
    }
    const bool failed = entry.result != 0;
    if (entry.arguments == kStatusRead) {
      status = !failed && transfer.bytes.front() == 1 ? Status::kReady : Status::kBusy;
    } else if (entry.arguments == kChecksumRead && packet) {
      const std::uint8_t told = failed ? 0xFF : transfer.bytes.front();
      const bool matches = told == packet->checksum();
      // The program polls the status only after accepting a packet.
      const bool accepted = i + 1 < transfers.size() && journal.at(transfers[i + 1].call).arguments == kStatusRead;
      if (accepted != matches) {
        breach(accepted ? "a packet was accepted whose checksum did not match"
                        : "a packet was not accepted whose checksum matched");
      }
      acceptedCommand = accepted ? packet->sent[2] : 0;
      // One of the ten start packets is enough.
      if (accepted && packet->sent[2] != kStart) {
        if (const auto reason = reasonOf(*packet, transfer, failed)) {
          if (reason->text.empty()) {
            breach("a damaged packet was accepted, and nothing had been misread");
          }
          auto& reasons = reason->isCertain ? findings.reasons : uncertain;
          if (std::find(reasons.begin(), reasons.end(), reason->text) == reasons.end()) {
            reasons.push_back(reason->text);
          }
        }
      }
      packet.reset();
      status = Status::kNotAsked;
    }
  }
  if (success && (acceptedCommand != kFinish || status != Status::kReady)) {
    breach("success was reported without an accepted finish packet and a ready boot loader");
  }
  if (findings.reasons.empty()) {
    findings.reasons = std::move(uncertain);
  }
  return findings;
}

}  // namespace upgrade_rules
