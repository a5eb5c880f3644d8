/// @file
/// Every read button of the visible window, with a library that returns arbitrary data.
/// For each reading operation the input has a control byte (bit 7: the next four bytes
/// are the status, otherwise success; bits 0 to 6: the number of bytes to write) and then
/// those bytes. Missing input counts as zeros.
#include "device/bytes.h"
#include "device/operations.h"
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "fuzz/window.h"
#include "simulator/control/control.h"
#include "tests/support/window_controls.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>

#include <vector>

namespace {

/// The labels that show the device's own texts.
constexpr const char* kTexts[] = {"lb_FW_VER_QX", "label_UVC_NAME", "label_IManufacturer", "label_IProduct"};

/// Whether a label paints its text literally, whatever it looks like.
bool isPaintedPlain(const char* name) {
  auto& label = fuzz::widget<QLabel>(name);
  static auto* const plain = [&label] {
    auto* const made = new QLabel(label.parentWidget());
    made->setTextFormat(Qt::PlainText);
    return made;
  }();
  plain->setParent(label.parentWidget());
  plain->setGeometry(label.geometry());
  plain->setIndent(label.indent());
  plain->setText(label.text());
  const bool isAlike = plain->grab().toImage() == label.grab().toImage();
  plain->setParent(nullptr);
  return isAlike;
}

/// Connects again and presses every read button.
void readEverything() {
  static auto& types = fuzz::widget<QComboBox>("CB_DeviceType");
  static auto& connectButton = fuzz::widget<QAbstractButton>("BN_Connect");
  static const std::vector<QAbstractButton*> readButtons = [] {
    std::vector<QAbstractButton*> buttons;
    for (const char* const name : kReadButtons) {
      buttons.push_back(&fuzz::widget<QAbstractButton>(name));
    }
    return buttons;
  }();

  // Connect keeps a session with the same ids, so select the other model in between.
  types.setCurrentIndex(1);
  connectButton.click();
  types.setCurrentIndex(0);
  connectButton.click();
  fuzz::require(fuzz::widget<QLabel>("LB_Message").text() == QLatin1String("Device Connected"),
                "a device connects, whatever its identity reads as");
  for (QAbstractButton* const button : readButtons) {
    button->click();
  }
  QCoreApplication::processEvents();  // paints the visible page
  for (const char* const name : kTexts) {
    fuzz::require(isPaintedPlain(name), "a text of the device is painted literally");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::window().show();
  simulator::reset();
  simulator::useVirtualTime();
  fuzz::Input input({data, size});
  for (const device::OperationDescription& operation : device::kOperations) {
    if (operation.kind != device::Kind::kRead) {
      continue;
    }
    const std::uint8_t control = input.takeByte();
    const std::int32_t status =
        (control & 0x80) != 0 ? static_cast<std::int32_t>(device::readU32le(input.take(4), 0)) : 0;
    const std::vector<std::uint8_t> answer = input.take(control & 0x7F);
    // Two buttons call some of the operations.
    for (const unsigned call : {1U, 2U}) {
      simulator::answerCall(operation.name.data(), call, status, answer);
    }
  }
  readEverything();
  return 0;
}
