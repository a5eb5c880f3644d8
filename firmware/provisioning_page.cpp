#include "app/main_window.h"
#include "device/RTICE_SDK_x64.h"
#include "device/text.h"
#include "ui_main_window.h"

#include <QFileDialog>
#include <QFileInfo>

#include <array>

void MainWindow::slotSerialNumRead() {
  if (!isConnected) {
    return;
  }
  std::array<std::uint8_t, 100> buffer{};
  std::uint32_t length = 0;
  if (AT_USB_Get_SerialNum(buffer.data(), static_cast<std::uint32_t>(buffer.size()), &length) != 0) {
    ui->LB_Message->setText(QStringLiteral("Read Serial Number...[fail]"));
    return;
  }
  ui->lineEdit_SN->setText(device::latin1Text(buffer));
}

void MainWindow::slotSerialNumSet() {
  const QString text = ui->lineEdit_SN->text();
  if (text.trimmed().isEmpty()) {
    return;
  }
  // Sent as typed, the blanks around it included.
  const QByteArray bytes = text.toUtf8();
  const bool done = AT_USB_Set_SerialNum(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                                         static_cast<std::uint32_t>(bytes.size())) == 0;
  ui->LB_Message->setText(done ? QStringLiteral("Set Serial Number...[OK]")
                               : QStringLiteral("Set Serial Number...[fail]"));
}

void MainWindow::slotBrowseKeyPath() {
  const QString chosen = QFileDialog::getOpenFileName(this, tr("Load HDCP Key File"), QString(), tr("*.bin"));
  if (chosen.isEmpty()) {
    qDebug("empty");
    return;
  }
  const QString path = QFileInfo(chosen).filePath();
  ui->lineEdit_KeyPath->setText(path);
  const bool done = burnHDCP(path.toUtf8().constData()) == 0;
  ui->LB_Message->setText(done ? QStringLiteral("Burn HDCP...[OK]") : QStringLiteral("Burn HDCP...[Fail]"));
}

int MainWindow::slotRestore() {
  ui->LB_Message->setText(QStringLiteral("Restore to default"));
  return AT_RestoreToDefault();
}

int MainWindow::slotReboot() { return AT_Set_System_Reboot(); }
