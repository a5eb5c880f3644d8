#include "app/main_window.h"
#include "app/program_state.h"
#include "device/RTICE_SDK_x64.h"
#include "device/ext_mcu_channel.h"
#include "device/text.h"
#include "session/device_types.h"
#include "session/identity.h"
#include "ui_main_window.h"

#include <array>

void MainWindow::soltSelectDeviceType(int index) {
  const session::DeviceIds ids = session::deviceIds(index);
  ui->Edit_VID->setText(ids.vid);
  ui->Edit_PID->setText(ids.pid);
}

void MainWindow::slotUSB_Connect() {
  const QString vidText = ui->Edit_VID->text().trimmed();
  const QString pidText = ui->Edit_PID->text().trimmed();
  if (vidText.isEmpty() || pidText.isEmpty()) {
    return;
  }

  // A text that is not a number counts as 0.
  const std::uint32_t vid = vidText.toUInt(nullptr, 16);
  const std::uint32_t pid = pidText.toUInt(nullptr, 16);
  if (isConnected && vid == selectedVid && pid == selectedPid) {
    return;
  }
  selectedVid = vid;
  selectedPid = pid;
  if (isConnected) {
    closePort();
    isConnected = false;
  }

  if (initialize() != 0) {
    ui->LB_Message->setText(QStringLiteral("initialize SDK ...[fail]"));
    return;
  }
  ui->LB_Message->setText(QStringLiteral("initialize SDK ...[OK]"));

  if (setDevice(0, 0, selectedVid, selectedPid) != 0) {
    uninitialize();
    ui->LB_Message->setText(QStringLiteral("set Port...[Fail]"));
    return;
  }
  ui->LB_Message->setText(QStringLiteral("set Port...[OK]"));

  if (openPort() != 0) {
    uninitialize();
    ui->LB_Message->setText(QStringLiteral("Open Port...[Fail]"));
    return;
  }
  ui->LB_Message->setText(QStringLiteral("Device Connected"));

  readFirmwareVersions();
  readUvcName();
  readManufacturer();
  readProduct();
  isConnected = true;
}

void MainWindow::readFirmwareVersions() {
  std::array<std::uint8_t, 128> version{};
  if (AT_Get_Customer_Ver(version.data()) == 0) {
    ui->lb_FW_VER_QX->setText(device::utf8Text(version));
  } else {
    ui->lb_FW_VER_QX->setText(QStringLiteral("Get Capture Version [fail]"));
  }
  // A version that cannot be read shows as v15.15.
  const std::uint32_t mainVersion =
      device::readRegisterByte(device::kI2cBus, device::kMcuApplication, device::kMcuVersionRegister);
  ui->lb_Main_VER_QX->setText(session::mainVersionText(static_cast<std::uint8_t>(mainVersion)));
}

void MainWindow::readUvcName() {
  std::array<std::uint8_t, 100> name{};
  std::uint32_t length = 0;
  if (AT_Get_UVC_Name(name.data(), static_cast<std::uint32_t>(name.size()), &length) != 0) {
    ui->lb_FW_VER_QX->setText(QStringLiteral("Get UVC name [fail]"));
    return;
  }
  ui->label_UVC_NAME->setText(device::latin1Text(name));
}

void MainWindow::readManufacturer() { readUsbString(AT_USB_Get_iManufacturer, ui->label_IManufacturer); }

void MainWindow::readProduct() { readUsbString(AT_USB_Get_iProduct, ui->label_IProduct); }

void MainWindow::readUsbString(std::int32_t (*read)(std::uint8_t*, std::uint32_t), QLabel* target) {
  std::array<std::uint8_t, 100> text{};
  const std::int32_t length = read(text.data(), 64);
  if (length < 0) {
    // The product's failure carries the manufacturer's text, too.
    ui->lb_FW_VER_QX->setText(QStringLiteral("Get iManufacturer [fail]"));
  }
  target->setText(session::usbStringText(text, length));
}
