#include "device/bytes.h"
#include "recorder/summary.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string_view>
#include <tuple>

namespace recorder {
namespace {

using device::Operation;
using OrderedJson = nlohmann::ordered_json;

/// What tells a signal that the simulated device knows from its others.
struct KnownSignal {
  std::string_view name;
  unsigned width;
  unsigned height;
  int hundredthsOfHertz;
  // Codes of the receiver's record.
  unsigned colorSpace = kRgb;
  unsigned hdr = kSdr;
  bool isInterlaced = false;

  enum : std::uint8_t { kRgb = 0, k422 = 1, k444 = 2, k420 = 3 };
  enum : std::uint8_t { kSdr = 0, kHdr10 = 1, kHlg = 0x11, kHdr10Plus = 0x20, kDolby = 0x30, kDolbyLowLatency = 0x31 };
};

constexpr auto kSignals = [] {
  using Known = KnownSignal;
  return std::to_array<Known>({
      {"480p59.94", 720, 480, 5994, Known::k444},
      {"480p60-dvi", 640, 480, 5994},
      {"576p50", 720, 576, 5000, Known::k444},
      {"720p60", 1280, 720, 6000, Known::k444},
      {"1080i50", 1920, 1080, 5000, Known::k422, Known::kSdr, true},
      {"1080p24", 1920, 1080, 2400, Known::k444},
      {"1080p50", 1920, 1080, 5000, Known::k444},
      {"1080p60", 1920, 1080, 6000},
      {"1080p120", 1920, 1080, 12000},
      {"1200p60", 1920, 1200, 6000},
      {"1440p144", 2560, 1440, 14400},
      {"2160p24-dolby-vision", 3840, 2160, 2400, Known::kRgb, Known::kDolby},
      {"2160p30", 3840, 2160, 3000},
      {"2160p59.94-hlg", 3840, 2160, 5994, Known::k422, Known::kHlg},
      {"2160p60-420", 3840, 2160, 6000, Known::k420},
      {"2160p60-dolby-vision-ll", 3840, 2160, 6000, Known::k422, Known::kDolbyLowLatency},
      {"2160p60-hdr10", 3840, 2160, 6000, Known::k420, Known::kHdr10},
      {"2160p60-hdr10plus", 3840, 2160, 6000, Known::k422, Known::kHdr10Plus},
      {"2160p120", 3840, 2160, 12000, Known::kRgb, Known::kHdr10},
  });
}();

/// The last successful reads of a recording.
class LastReads {
 public:
  explicit LastReads(const Recording& recording) {
    for (const RecordedCall& call : recording.calls) {
      if (call.ending && !call.image.description().failed(call.image.result)) {
        last_[call.image.operation] = &call.image;
      }
    }
  }

  const CallImage* of(Operation operation) const {
    const auto found = last_.find(operation);
    return found == last_.end() ? nullptr : found->second;
  }

  /// A buffer of that size as the call left it; bytes that it did not change are 0.
  std::optional<Bytes> buffer(Operation operation, std::size_t parameter, std::size_t size) const {
    const CallImage* const call = of(operation);
    if (call == nullptr) {
      return std::nullopt;
    }
    Bytes bytes(size);
    putOutput(call->outputs[parameter], bytes);
    return bytes;
  }

  std::optional<std::string> text(Operation operation, std::size_t longest) const {
    const std::optional<Bytes> bytes = buffer(operation, 0, longest);
    if (!bytes) {
      return std::nullopt;
    }
    return std::string(bytes->begin(), std::find(bytes->begin(), bytes->end(), 0));
  }

  std::optional<unsigned> byte(Operation operation) const {
    const std::optional<Bytes> bytes = buffer(operation, 0, 1);
    return bytes ? std::optional<unsigned>(bytes->front()) : std::nullopt;
  }

  std::optional<int> number16(Operation operation) const {
    const std::optional<Bytes> bytes = buffer(operation, 0, 2);
    return bytes ? std::optional<int>(static_cast<std::int16_t>(device::readU16le(*bytes, 0))) : std::nullopt;
  }

 private:
  std::map<Operation, const CallImage*> last_;
};

void addIdentity(OrderedJson& scenario, const LastReads& reads) {
  constexpr std::int64_t kKvr5b = 0x6B02;
  if (const CallImage* const selected = reads.of(Operation::setDevice)) {
    scenario["model"] = selected->inputs[3].number == kKvr5b ? "KVR-5B" : "KVR-7";
  }
  const auto add = [&](const char* key, Operation operation, std::size_t longest) {
    if (const std::optional<std::string> text = reads.text(operation, longest)) {
      scenario["identity"][key] = *text;
    }
  };
  add("captureVersion", Operation::AT_Get_Customer_Ver, 127);
  add("uvcName", Operation::AT_Get_UVC_Name, 100);
  add("manufacturer", Operation::AT_USB_Get_iManufacturer, 64);
  add("product", Operation::AT_USB_Get_iProduct, 64);
  add("serialNumber", Operation::AT_USB_Get_SerialNum, 100);
}

/// The nearest one: of its size and scan, at most 1 Hz away. Dynamic range counts more
/// than colours, these more than the rate.
std::string signalOf(const Bytes& record) {
  const unsigned height = device::readU16le(record, 0x06);
  const unsigned width = device::readU16le(record, 0x08);
  if (width == 0 || height == 0) {
    return "none";
  }
  const bool isInterlaced = (record[0x00] & 1U) != 0;
  const auto differences = [&record](const KnownSignal& signal) {
    const int rate = device::readU16le(record, 0x0E);
    return std::tuple(signal.hdr != record[0x12], signal.colorSpace != record[0x19],
                      std::abs(rate - signal.hundredthsOfHertz));
  };
  const KnownSignal* nearest = nullptr;
  for (const KnownSignal& signal : kSignals) {
    constexpr int kOneHertz = 100;
    const bool isNear = signal.width == width && signal.height == height && signal.isInterlaced == isInterlaced &&
                        std::get<2>(differences(signal)) < kOneHertz;
    if (isNear && (nearest == nullptr || differences(signal) < differences(*nearest))) {
      nearest = &signal;
    }
  }
  return nearest == nullptr ? std::string() : std::string(nearest->name);
}

void addSignal(OrderedJson& scenario, const LastReads& reads) {
  const std::optional<unsigned> source = reads.byte(Operation::AT_Get_Current_Input_Source);
  const bool isDp = source && *source != 0;
  if (source) {
    scenario["inputs"]["source"] = isDp ? "dp" : "hdmi";
  }
  const auto record = reads.buffer(Operation::AT_HdmiRX_GetRawTimingInfo, 0, RTICE_RAW_TIMING_INFO_SIZE);
  const std::string signal = record ? signalOf(*record) : std::string();
  const bool isDpSignal = signal == "1200p60" || signal == "1440p144";
  if (!signal.empty() && (signal == "none" || isDpSignal == isDp)) {
    scenario["inputs"][isDp ? "dp" : "hdmi"] = signal;
  }
  if (const auto present = reads.buffer(Operation::AT_HdmiTX_Get_HPD_Status, 0, 4)) {
    scenario["sink"]["present"] = device::readU32le(*present, 0) == 1;
  }
}

void addSettings(OrderedJson& scenario, const LastReads& reads) {
  constexpr std::array kModes{"fromFlash", "followTx", "followUsb", "mixed"};
  if (const auto mode = reads.byte(Operation::AT_EDID_Get_EDID_mode); mode && *mode < kModes.size()) {
    scenario["edid"]["mode"] = kModes.at(*mode);
  }
  if (const auto slot = reads.byte(Operation::AT_EDID_Flash_Get_Default_table); slot && *slot <= 6) {
    scenario["edid"]["defaultSlot"] = *slot;
  }
  if (const auto gain = reads.number16(Operation::AT_Audio_Get_HdmiDPRX_VolumeGain)) {
    scenario["audio"]["receiverGain"] = *gain;
  }
  if (const auto gain = reads.number16(Operation::AT_Audio_Get_HPOUTgain)) {
    scenario["audio"]["headphoneGain"] = *gain;
  }
  if (const auto muted = reads.byte(Operation::AT_Audio_Get_DACHP_Mute)) {
    scenario["audio"]["muted"] = *muted != 0;
  }
}

/// As a scenario writes bytes: "00 1F".
std::string spaced(const Bytes& bytes) {
  std::string digits;
  appendHex(digits, bytes);
  std::string text;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    text.append(i == 0 ? "" : " ").append(digits, i, 2);
  }
  return text;
}

// What was read last of each slot and of the sink.
void addTables(OrderedJson& scenario, const Recording& recording) {
  constexpr std::size_t kLongest = 512;
  const auto add = [&](const std::string& key, const RecordedCall& call, std::size_t size, std::size_t buffer) {
    const auto count = static_cast<std::size_t>(std::clamp<std::int64_t>(call.image.inputs[size].number, 0, kLongest));
    Bytes table(count);
    putOutput(call.image.outputs[buffer], table);
    scenario["edid"][key] = spaced(table);
  };
  for (const RecordedCall& call : recording.calls) {
    if (!call.ending || call.image.description().failed(call.image.result)) {
      continue;
    }
    const std::int64_t slot = call.image.inputs[0].number;
    if (call.image.operation == Operation::AT_EDID_Flash_Get_table && slot >= 0 && slot <= 6) {
      add("slot" + std::to_string(slot), call, 2, 1);
    } else if (call.image.operation == Operation::AT_EDID_Get_TX_table) {
      add("sink", call, 0, 1);
    }
  }
}

// The external MCU's application tells its family in register 0, its version in
// register 2.
void addExternalMcu(OrderedJson& scenario, const Recording& recording) {
  constexpr std::int64_t kApplication = 0x0D;
  const auto hexadecimal = [](unsigned byte) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "0x%02X", byte & 0xFF);
    return std::string(text.data());
  };
  for (const RecordedCall& call : recording.calls) {
    const auto& inputs = call.image.inputs;
    const bool isRead = call.image.operation == Operation::AT_System_Get_ExternalMCU_cmd && call.image.result == 0 &&
                        call.ending && inputs[1].number == kApplication && inputs[3].bytes.size() == 1 &&
                        inputs[4].number == 1;
    if (!isRead) {
      continue;
    }
    Bytes value(1);
    putOutput(call.image.outputs[5], value);
    const unsigned byte = value.front();
    if (inputs[3].bytes.front() == 0x00) {
      const bool isKnown = byte == '2' || byte == 'v';
      scenario["externalMcu"]["family"] = isKnown ? std::string(1, static_cast<char>(byte)) : hexadecimal(byte);
    } else if (inputs[3].bytes.front() == 0x02) {
      scenario["externalMcu"]["version"] = hexadecimal(byte);
    }
  }
}

}  // namespace

std::string scenarioOf(const Recording& recording) {
  const LastReads reads(recording);
  OrderedJson scenario = OrderedJson::object();
  addIdentity(scenario, reads);
  addSignal(scenario, reads);
  addSettings(scenario, reads);
  addTables(scenario, recording);
  addExternalMcu(scenario, recording);
  return scenario.dump(2, ' ', true, OrderedJson::error_handler_t::replace) + "\n";
}

}  // namespace recorder
