#include "app/main_window.h"
#include "app/program_state.h"
#include "session/connection.h"
#include "session/device_types.h"
#include "session/identity.h"
#include "session/identity_calls.h"
#include "ui_main_window.h"

#include <tuple>

namespace {

QString doneText(session::OpenStep step) {
  switch (step) {
    case session::OpenStep::kInitialize:
      return QStringLiteral("initialize SDK ...[OK]");
    case session::OpenStep::kSetDevice:
      return QStringLiteral("set Port...[OK]");
    case session::OpenStep::kOpenPort:
      break;
  }
  return QStringLiteral("Device Connected");
}

QString failedText(session::OpenStep step) {
  switch (step) {
    case session::OpenStep::kInitialize:
      return QStringLiteral("initialize SDK ...[fail]");
    case session::OpenStep::kSetDevice:
      return QStringLiteral("set Port...[Fail]");
    case session::OpenStep::kOpenPort:
      break;
  }
  return QStringLiteral("Open Port...[Fail]");
}

void showUsbString(const device::Result<device::ReportedText>& read, QLabel& target, QLabel& failures) {
  if (!read) {
    // The product's failure carries the manufacturer's text, too.
    failures.setText(QStringLiteral("Get iManufacturer [fail]"));
  }
  target.setText(read ? read->text : QString());
}

}  // namespace

void MainWindow::soltSelectDeviceType(int index) {
  const session::DeviceIds ids = session::deviceIds(index);
  ui->Edit_VID->setText(ids.vid);
  ui->Edit_PID->setText(ids.pid);
}

void MainWindow::slotUSB_Connect() {
  const auto ids = device::typedUsbIds(ui->Edit_VID->text(), ui->Edit_PID->text());
  if (!ids || session::keepsSession(isConnected, {selectedVid, selectedPid}, *ids)) {
    return;
  }
  selectedVid = ids->vid;
  selectedPid = ids->pid;
  if (isConnected) {
    std::ignore = session::closeSession();
    isConnected = false;
  }

  const auto opened =
      session::openSession(*ids, [this](session::OpenStep step) { ui->LB_Message->setText(doneText(step)); });
  if (!opened) {
    ui->LB_Message->setText(failedText(opened.error().step));
    return;
  }

  readFirmwareVersions();
  readUvcName();
  readManufacturer();
  readProduct();
  isConnected = true;
}

void MainWindow::readFirmwareVersions() {
  ui->lb_FW_VER_QX->setText(session::readCaptureVersion().value_or(QStringLiteral("Get Capture Version [fail]")));
  // A version that cannot be read shows as v15.15.
  ui->lb_Main_VER_QX->setText(session::mainVersionText(session::readMcuVersion().value_or(0xFF)));
}

void MainWindow::readUvcName() {
  if (const auto name = session::readUvcName()) {
    ui->label_UVC_NAME->setText(name->text);
  } else {
    ui->lb_FW_VER_QX->setText(QStringLiteral("Get UVC name [fail]"));
  }
}

void MainWindow::readManufacturer() {
  showUsbString(session::readManufacturer(), *ui->label_IManufacturer, *ui->lb_FW_VER_QX);
}

void MainWindow::readProduct() { showUsbString(session::readProduct(), *ui->label_IProduct, *ui->lb_FW_VER_QX); }
