#include "device/operations.h"
#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/operation_table.h"
#include "tests/support/journal.h"

#include <algorithm>

namespace {

constexpr std::size_t kMemory = 4096;

/// A read into memory that is large enough for anything, and the size of what it fills.
struct Read {
  const char* name;
  std::size_t size;
  std::int32_t (*run)(std::uint8_t* memory);
};

template <typename Value>
Value* as(std::uint8_t* memory) {
  return reinterpret_cast<Value*>(memory);
}

const std::uint8_t kIndex = 0;
std::uint32_t anyLength = 0;

// All 23 reads; those without a size argument fill what the header says.
const Read kReads[] = {
    {"AT_USB_Get_SerialNum", 77, [](std::uint8_t* m) { return AT_USB_Get_SerialNum(m, 77, &anyLength); }},
    {"AT_Get_Customer_Ver", 128, AT_Get_Customer_Ver},
    {"AT_Get_UVC_Name", 78, [](std::uint8_t* m) { return AT_Get_UVC_Name(m, 78, &anyLength); }},
    {"AT_USB_Get_iManufacturer", 79, [](std::uint8_t* m) { return AT_USB_Get_iManufacturer(m, 79); }},
    {"AT_USB_Get_iProduct", 80, [](std::uint8_t* m) { return AT_USB_Get_iProduct(m, 80); }},
    {"AT_System_Get_ExternalMCU_cmd", 9,
     [](std::uint8_t* m) { return AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, &kIndex, 9, m); }},
    {"AT_HdmiRX_GetRawTimingInfo", 48, AT_HdmiRX_GetRawTimingInfo},
    {"AT_Get_Current_Input_Source", 1, AT_Get_Current_Input_Source},
    {"AT_HdmiTX_Get_HPD_Status", 4, [](std::uint8_t* m) { return AT_HdmiTX_Get_HPD_Status(as<std::int32_t>(m)); }},
    {"AT_UVC_Get_Output_Timing", 128, AT_UVC_Get_Output_Timing},
    {"AT_UVC_Get_VideoFormat", 1, AT_UVC_Get_VideoFormat},
    {"AT_Get_RX_TX_HDCP_Version", 128, AT_Get_RX_TX_HDCP_Version},
    {"AT_Audio_Get_HdmiRX_AudioFormat", 1, AT_Audio_Get_HdmiRX_AudioFormat},
    {"AT_Audio_Get_HdmiRX_AudioSamplingRate", 1, AT_Audio_Get_HdmiRX_AudioSamplingRate},
    {"AT_Audio_Get_HdmiDPRX_VolumeGain", 2,
     [](std::uint8_t* m) { return AT_Audio_Get_HdmiDPRX_VolumeGain(as<std::int16_t>(m)); }},
    {"AT_Audio_Get_HPOUTgain", 2, [](std::uint8_t* m) { return AT_Audio_Get_HPOUTgain(as<std::int16_t>(m)); }},
    {"AT_Audio_Get_DACHP_Mute", 1, AT_Audio_Get_DACHP_Mute},
    {"AT_EDID_Get_EDID_mode", 1, AT_EDID_Get_EDID_mode},
    {"AT_EDID_Flash_Get_Default_table", 1, AT_EDID_Flash_Get_Default_table},
    {"AT_EDID_Flash_Get_table", 384, [](std::uint8_t* m) { return AT_EDID_Flash_Get_table(1, m, 384); }},
    {"AT_EDID_Get_TX_table", 512, [](std::uint8_t* m) { return AT_EDID_Get_TX_table(512, m); }},
    {"AT_EDID_DDC_Get_RX_table", 256, [](std::uint8_t* m) { return AT_EDID_DDC_Get_RX_table(256, m); }},
    {"AT_GPIO_Get_Param", 1, [](std::uint8_t* m) { return AT_GPIO_Get_Param(0, 0, m); }},
};

struct alignas(8) Memory {
  std::array<std::uint8_t, kMemory> bytes{};
  Memory() { bytes.fill(0xA5); }
  /// How many bytes at the beginning have this value, with nothing else behind.
  std::size_t filledWith(std::uint8_t value) const {
    const auto end = std::find_if(bytes.begin(), bytes.end(), [value](std::uint8_t byte) { return byte != value; });
    const bool restIsUntouched = std::all_of(end, bytes.end(), [](std::uint8_t byte) { return byte == 0xA5; });
    return restIsUntouched ? static_cast<std::size_t>(end - bytes.begin()) : kMemory + 1;
  }
};

}  // namespace

/// What injected answers write, and what calls leave in the journal.
class AnswersTest : public QObject {
  Q_OBJECT

  static void addReads() {
    QTest::addColumn<int>("number");
    int number = 0;
    for (const Read& read : kReads) {
      QTest::newRow(read.name) << number++;
    }
    QCOMPARE(static_cast<std::size_t>(number), device::countOf(device::Kind::kRead));
  }

 private slots:
  void init() {
    simulator::reset();
    simulator::useVirtualTime();
    openDefaultDevice();
  }

  void anAnswerIsCutToTheCallersBuffer_data() { addReads(); }

  void anAnswerIsCutToTheCallersBuffer() {
    QFETCH(int, number);
    const Read& read = kReads[number];
    simulator::answerCall(read.name, 1, -3, std::vector<std::uint8_t>(1000, 0x77));
    Memory memory;
    QCOMPARE(read.run(memory.bytes.data()), -3);
    QCOMPARE(memory.filledWith(0x77), read.size);
  }

  void aShortAnswerFillsItsBytesOnly_data() { addReads(); }

  void aShortAnswerFillsItsBytesOnly() {
    QFETCH(int, number);
    const Read& read = kReads[number];
    simulator::answerCall(read.name, 1, 0, {0x77});
    simulator::answerCall(read.name, 2, 0, {});
    Memory memory;
    QCOMPARE(read.run(memory.bytes.data()), 0);
    QCOMPARE(memory.filledWith(0x77), std::size_t{1});
    Memory untouched;
    QCOMPARE(read.run(untouched.bytes.data()), 0);
    QCOMPARE(untouched.filledWith(0x77), std::size_t{0});
  }

  void anAnswerToANullPointerIsDropped() {
    for (const char* name : {"AT_GPIO_Get_Param", "AT_Get_UVC_Name", "AT_HdmiTX_Get_HPD_Status"}) {
      simulator::answerCall(name, 1, 0, {1, 2, 3}, 7);
    }
    QCOMPARE(AT_GPIO_Get_Param(0, 0, nullptr), 0);
    QCOMPARE(AT_Get_UVC_Name(nullptr, 100, nullptr), 0);
    QCOMPARE(AT_HdmiTX_Get_HPD_Status(nullptr), 0);
  }

  void aTimingRecordAndTheHdcpVersionsFillTheirPartOfTheBuffer() {
    Memory timing;
    QCOMPARE(AT_UVC_Get_Output_Timing(timing.bytes.data()), 0);
    QCOMPARE(int{timing.bytes[11]}, 0);
    QCOMPARE(int{timing.bytes[12]}, 0xA5);
    Memory versions;
    QCOMPARE(AT_Get_RX_TX_HDCP_Version(versions.bytes.data()), 0);
    QCOMPARE(int{versions.bytes[1]}, 1);
    QCOMPARE(int{versions.bytes[2]}, 0xA5);
  }

  void theJournalShowsEveryArgument() {
    simulator::clearJournal();
    const std::vector<std::uint8_t> bytes(1025, 0x9F);
    std::uint8_t value = 0;
    setDevice(0, 0, 0, 0xF);
    setDevice(0, 0, 0x12345, 0xFFFFFFFF);
    AT_USB_Set_SerialNum(bytes.data(), 2);
    AT_USB_Set_SerialNum(nullptr, 2);
    AT_EDID_Flash_Set_table(1, bytes.data(), 0);
    AT_EDID_Flash_Set_table(1, bytes.data(), 1024);
    AT_EDID_Flash_Set_table(1, bytes.data(), 1025);
    AT_Input_Source_Switch(&value);
    AT_GPIO_Get_Param(0, 9, &value);
    AT_USB_Get_iProduct(&value, 1);
    AT_USB_Get_iManufacturer(&value, 1);
    AT_Get_UVC_Name(&value, 1, nullptr);
    AT_USB_Get_SerialNum(&value, 1, nullptr);
    AT_EDID_Flash_Get_table(3, nullptr, 256);
    AT_EDID_DDC_Get_RX_table(384, nullptr);
    AT_Audio_Set_HPOUTgain(nullptr);
    AT_Audio_Set_HdmiDPRX_VolumeGain(-3);
    AT_Audio_Set_DACHP_Mute(1);
    AT_EDID_Set_EDID_mode(-1);
    AT_EDID_Flash_Set_Default_table(200);
    AT_HdmiRX_Set_HPD(1);
    AT_SetHDMI_HDCP_OnOff(1);
    AT_System_Get_ExternalMCU_cmd(3, 0x5, 0, nullptr, 1, &value);
    burnHDCP(nullptr);
    burnToFlash("", nullptr);
    const QString many = QStringLiteral("9F ").repeated(1024).trimmed();
    QCOMPARE(journalCalls(), (QStringList{"setDevice(0, 0, 0x0000, 0x000F)",
                                          "setDevice(0, 0, 0x12345, 0xFFFFFFFF)",
                                          "AT_USB_Set_SerialNum([9F 9F], 2)",
                                          "AT_USB_Set_SerialNum(null, 2)",
                                          "AT_EDID_Flash_Set_table(1, [], 0)",
                                          "AT_EDID_Flash_Set_table(1, [" + many + "], 1024)",
                                          "AT_EDID_Flash_Set_table(1, [1025 bytes], 1025)",
                                          "AT_Input_Source_Switch([00])",
                                          "AT_GPIO_Get_Param(0, 9)",
                                          "AT_USB_Get_iProduct(1)",
                                          "AT_USB_Get_iManufacturer(1)",
                                          "AT_Get_UVC_Name(1)",
                                          "AT_USB_Get_SerialNum(1)",
                                          "AT_EDID_Flash_Get_table(3, 256)",
                                          "AT_EDID_DDC_Get_RX_table(384)",
                                          "AT_Audio_Set_HPOUTgain(null)",
                                          "AT_Audio_Set_HdmiDPRX_VolumeGain(-3)",
                                          "AT_Audio_Set_DACHP_Mute(1)",
                                          "AT_EDID_Set_EDID_mode(-1)",
                                          "AT_EDID_Flash_Set_Default_table(200)",
                                          "AT_HdmiRX_Set_HPD(1)",
                                          "AT_SetHDMI_HDCP_OnOff(1)",
                                          "AT_System_Get_ExternalMCU_cmd(3, 0x05, 0, null, 1)",
                                          "burnHDCP(null)",
                                          "burnToFlash(\"\")"}));
  }

  // A tool that runs for days must not eat the memory.
  void theJournalKeepsTheLastTwoHundredThousandCalls() {
    simulator::clearJournal();
    closePort();
    for (int i = 0; i < 200'000; ++i) {
      openPort();
    }
    const std::vector<simulator::JournalEntry> journal = simulator::journal();
    QCOMPARE(journal.size(), std::size_t{200'000});
    QCOMPARE(journal.front().operation, std::string("openPort"));
    initialize();
    QCOMPARE(simulator::journal().size(), std::size_t{200'000});
    QCOMPARE(simulator::journal().back().operation, std::string("initialize"));
    simulator::clearJournal();
  }

  void theStatusCodesAreTheDocuments() {
    using namespace simulator;
    const std::vector<std::int32_t> codes{kOk,         kNotInitialized,  kWrongOrder,     kNoSuchDevice, kNoPort,
                                          kDeviceGone, kInvalidArgument, kBufferTooSmall, kNoAnswer,     kBadFile,
                                          kNoFirmware, kBurnRunning,     kBadScenario,    kNoSink,       kFlashFault,
                                          kStateInUse, kBadState};
    for (std::size_t i = 0; i < codes.size(); ++i) {
      QCOMPARE(codes[i], -static_cast<std::int32_t>(i));
    }
    QCOMPARE(kInjected, -100);
  }

  // An answer of success, once, at the first call.
  void aFaultThatSaysNothingElse() {
    simulator::addFault({.operation = "AT_Input_Source_Switch"});
    const std::uint8_t dp = 1;
    std::uint8_t source = 9;
    QCOMPARE(AT_Input_Source_Switch(&dp), 0);
    QCOMPARE(AT_Get_Current_Input_Source(&source), 0);
    QCOMPARE(source, std::uint8_t{0});
    QCOMPARE(AT_Input_Source_Switch(&dp), 0);
    QCOMPARE(AT_Get_Current_Input_Source(&source), 0);
    QCOMPARE(source, std::uint8_t{1});
    // Without a delay, the plug stays out.
    simulator::addFault({.at = simulator::FaultPoint::kCall, .first = 8, .what = simulator::FaultEffect::kUnplug});
    QCOMPARE(AT_Get_Current_Input_Source(&source), simulator::kDeviceGone);
    simulator::advanceTime(std::chrono::hours(1));
    QCOMPARE(AT_Get_Current_Input_Source(&source), simulator::kDeviceGone);
  }

  void writesTakeTheirTime() {
    const BurnFile file;
    const std::vector<std::uint8_t> table(513);
    simulator::clearJournal();
    QCOMPARE(AT_EDID_Flash_Set_table(0, table.data(), 512), 0);
    QCOMPARE(AT_EDID_Flash_Set_table(0, table.data(), 1), 0);
    QCOMPARE(AT_EDID_Flash_Set_table(0, table.data(), 513), simulator::kInvalidArgument);
    QCOMPARE(burnHDCP(file.path()), 0);
    QCOMPARE(burnToFlash(file.path(), [](float) {}), 0);
    const std::vector<std::chrono::milliseconds> expected{std::chrono::milliseconds(60), std::chrono::milliseconds(60),
                                                          std::chrono::milliseconds(0), std::chrono::milliseconds(300),
                                                          std::chrono::milliseconds(95)};
    for (std::size_t i = 0; i < expected.size(); ++i) {
      QVERIFY(simulator::journal().at(i).duration == expected[i]);
    }
  }
};

QTEST_GUILESS_MAIN(AnswersTest)
#include "answers_test.moc"
