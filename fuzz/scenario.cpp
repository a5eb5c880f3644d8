/// @file
/// A scenario text. Any input either loads and gives a usable device, or is refused with
/// one line that says why.
#include "device/RTICE_SDK_x64.h"
#include "fuzz/target.h"
#include "simulator/control/control.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t kVid = 0x5C19;

// Heap buffers of the smallest size allowed, so that sanitizers detect any access beyond
// them.
std::vector<std::uint8_t> buffer(std::size_t size) { return std::vector<std::uint8_t>(size); }

/// Calls every operation that takes no file, with the program's arguments.
void workWithDevice() {
  initialize();
  if (setDevice(0, 0, kVid, 0x6B03) != 0) {
    setDevice(0, 0, kVid, 0x6B02);
  }
  openPort();
  std::uint32_t length = 0;
  AT_Get_Customer_Ver(buffer(128).data());
  AT_Get_UVC_Name(buffer(100).data(), 100, &length);
  AT_USB_Get_SerialNum(buffer(100).data(), 100, &length);
  AT_USB_Get_iManufacturer(buffer(64).data(), 64);
  AT_USB_Get_iProduct(buffer(64).data(), 64);
  AT_HdmiRX_GetRawTimingInfo(buffer(RTICE_RAW_TIMING_INFO_SIZE).data());
  AT_UVC_Get_Output_Timing(buffer(128).data());
  AT_Get_RX_TX_HDCP_Version(buffer(128).data());
  for (auto* const readByte : {&AT_Get_Current_Input_Source, &AT_UVC_Get_VideoFormat, &AT_Audio_Get_HdmiRX_AudioFormat,
                               &AT_Audio_Get_HdmiRX_AudioSamplingRate, &AT_Audio_Get_DACHP_Mute, &AT_EDID_Get_EDID_mode,
                               &AT_EDID_Flash_Get_Default_table}) {
    readByte(buffer(1).data());
  }
  std::int32_t number = 0;
  AT_HdmiTX_Get_HPD_Status(&number);
  std::int16_t gain = 0;
  AT_Audio_Get_HdmiDPRX_VolumeGain(&gain);
  AT_Audio_Get_HPOUTgain(&gain);
  for (const std::uint32_t size : {256U, 384U, 512U}) {
    AT_EDID_Get_TX_table(size, buffer(size).data());
    AT_EDID_DDC_Get_RX_table(size, buffer(size).data());
    AT_EDID_Flash_Get_table(0, buffer(size).data(), size);
  }
  for (const std::uint8_t slave : std::initializer_list<std::uint8_t>{0x0D, 0x43, 0x48, 0x50, 0x54}) {
    const std::array<std::uint8_t, 2> bytes{0x01, 0x01};
    AT_System_Send_ExternalMCU_cmd(3, slave, 2, bytes.data());
    AT_System_Get_ExternalMCU_cmd(3, slave, 1, bytes.data(), 4, buffer(4).data());
  }
  AT_GPIO_Get_Param(1, 13, buffer(1).data());
  AT_Set_System_Reboot();
  simulator::advanceTime(std::chrono::seconds(2));
  AT_RestoreToDefault();
  closePort();
  uninitialize();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string json(reinterpret_cast<const char*>(data), size);
  if (json.find("stateFile") != std::string::npos) {
    return -1;  // would write to any path
  }
  const std::string error = simulator::loadScenario(json, "text");
  simulator::useVirtualTime();
  if (error.empty()) {
    workWithDevice();
    const std::vector<simulator::JournalEntry> journal = simulator::journal();
    fuzz::require(journal.size() >= 40, "every call is in the journal, whatever becomes of it");
    return 0;
  }

  fuzz::require(std::none_of(error.begin(), error.end(),
                             [](char letter) { return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F; }),
                "an error is one printable line");
  for (const char* hidden : {"\xC2\x9B", "\xC2\x85", "\xE2\x80\xAE", "\xE2\x81\xA6", "\xE2\x80\xA8"}) {
    fuzz::require(error.find(hidden) == std::string::npos, "without control characters of any encoding");
  }
  fuzz::require(error.size() < 2200, "of a length that can be read");
  const std::size_t lines = 1 + static_cast<std::size_t>(std::count(json.begin(), json.end(), '\n'));
  const std::size_t colon = error.find(": ");
  fuzz::require(error.rfind("text:", 0) == 0 && colon != std::string::npos && error.size() > colon + 2,
                "it names the text, a line and a reason");
  const std::string line = error.substr(5, colon - 5);
  fuzz::require(!line.empty() && line.size() < 10 && line.find_first_not_of("0123456789") == std::string::npos &&
                    std::stoul(line) >= 1 && std::stoul(line) <= lines,
                "the line is one of the text's");
  fuzz::require(initialize() == 0 && setDevice(0, 0, kVid, 0x6B03) == 0 && openPort() == 0,
                "a text that was refused leaves the default device");
  return 0;
}
