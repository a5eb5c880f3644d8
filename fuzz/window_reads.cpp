/// @file
/// Every read button of the window against a library that returns anything. For
/// each operation in turn the input gives one byte (bit 7: another status than
/// success, taken from the next four bytes; bits 0 to 6: how many bytes it
/// writes) and then those bytes; what is missing is zero.
#include "app/main_window.h"
#include "device/RTICE_SDK_x64.h"
#include "device/bytes.h"
#include "fuzz/target.h"
#include "simulator/sim_control.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLabel>

#include <algorithm>
#include <array>
#include <span>
#include <vector>

namespace {

constexpr const char* kReadOperations[] = {
    "AT_HdmiRX_GetRawTimingInfo",
    "AT_Get_Current_Input_Source",
    "AT_HdmiTX_Get_HPD_Status",
    "AT_UVC_Get_Output_Timing",
    "AT_UVC_Get_VideoFormat",
    "AT_Get_RX_TX_HDCP_Version",
    "AT_Audio_Get_HdmiRX_AudioFormat",
    "AT_Audio_Get_HdmiRX_AudioSamplingRate",
    "AT_Audio_Get_HdmiDPRX_VolumeGain",
    "AT_Audio_Get_DACHP_Mute",
    "AT_Audio_Get_HPOUTgain",
    "AT_Get_Customer_Ver",
    "AT_Get_UVC_Name",
    "AT_USB_Get_iManufacturer",
    "AT_USB_Get_iProduct",
    "AT_USB_Get_SerialNum",
    "AT_System_Get_ExternalMCU_cmd",
    "AT_EDID_Get_EDID_mode",
    "AT_EDID_Flash_Get_Default_table",
    "AT_GPIO_Get_Param",
};

constexpr const char* kReadButtons[] = {"BN_Info_Read", "BN_Video_Read", "BN_Audio_Read", "BN_SN_Read",
                                        "BN_EDID_Read", "BN_I2C_Read",   "BN_GPIO_Read"};

/// Takes bytes from the front of an input; zeros once it is used up.
class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  std::vector<std::uint8_t> take(std::size_t count) {
    std::vector<std::uint8_t> taken(count);
    const std::size_t there = std::min(count, rest_.size());
    std::copy_n(rest_.begin(), there, taken.begin());
    rest_ = rest_.subspan(there);
    return taken;
  }

 private:
  std::span<const std::uint8_t> rest_;
};

/// The program as it runs, without a screen. It lives as long as the process.
class Program {
 public:
  Program() {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    static int argumentCount = 1;
    static std::array<char, 5> name{"fuzz"};
    static std::array<char*, 2> arguments{name.data(), nullptr};
    application_ = new QApplication(argumentCount, arguments.data());
    window_ = new MainWindow;
    for (const char* const button : kReadButtons) {
      buttons_.push_back(window_->findChild<QAbstractButton*>(QLatin1String(button)));
    }
    connectButton_ = window_->findChild<QAbstractButton*>(QStringLiteral("BN_Connect"));
    typeList_ = window_->findChild<QComboBox*>(QStringLiteral("CB_DeviceType"));
  }

  /// Connects anew and presses every read button.
  void readEverything() {
    // An unchanged device would be kept as it is connected.
    typeList_->setCurrentIndex(1);
    connectButton_->click();
    typeList_->setCurrentIndex(0);
    connectButton_->click();
    for (QAbstractButton* const button : buttons_) {
      button->click();
    }
  }

  bool showsATextAtAll() const { return !window_->findChild<QLabel*>(QStringLiteral("LB_Message"))->text().isEmpty(); }

 private:
  QApplication* application_;
  MainWindow* window_;
  QAbstractButton* connectButton_;
  QComboBox* typeList_;
  std::vector<QAbstractButton*> buttons_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto* const program = new Program;
  simulator::reset();
  simulator::useVirtualTime();
  Input input({data, size});
  for (const char* const operation : kReadOperations) {
    const std::uint8_t control = input.take(1)[0];
    const std::int32_t status =
        (control & 0x80) != 0 ? static_cast<std::int32_t>(device::readU32le(input.take(4), 0)) : 0;
    const std::vector<std::uint8_t> answer = input.take(control & 0x7F);
    // Some are called by two of the buttons.
    for (const unsigned call : {1U, 2U}) {
      simulator::answerCall(operation, call, status, answer);
    }
  }
  program->readEverything();
  fuzz::require(program->showsATextAtAll(), "connecting leaves a message");
  return 0;
}
