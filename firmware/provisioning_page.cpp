#include "app/browse.h"
#include "app/main_window.h"
#include "firmware/provisioning_calls.h"
#include "ui_main_window.h"

void MainWindow::slotSerialNumRead() {
  if (!isConnected) {
    return;
  }
  const auto serialNumber = firmware::readSerialNumber();
  if (!serialNumber) {
    ui->LB_Message->setText(QStringLiteral("Read Serial Number...[fail]"));
    return;
  }
  ui->lineEdit_SN->setText(serialNumber->text);
}

void MainWindow::slotSerialNumSet() {
  const QString text = ui->lineEdit_SN->text();
  if (text.trimmed().isEmpty()) {
    return;
  }
  // Sent as typed, the blanks around it included.
  const auto set = firmware::setSerialNumber(text);
  ui->LB_Message->setText(set ? QStringLiteral("Set Serial Number...[OK]")
                              : QStringLiteral("Set Serial Number...[fail]"));
}

void MainWindow::slotBrowseKeyPath() {
  const QString path = browsedPath(this, tr("Load HDCP Key File"), tr("*.bin"));
  if (path.isEmpty()) {
    qDebug("empty");
    return;
  }
  ui->lineEdit_KeyPath->setText(path);
  const auto burnt = firmware::burnKey(path);
  ui->LB_Message->setText(burnt ? QStringLiteral("Burn HDCP...[OK]") : QStringLiteral("Burn HDCP...[Fail]"));
}

int MainWindow::slotRestore() {
  ui->LB_Message->setText(QStringLiteral("Restore to default"));
  return device::statusOf(firmware::restoreDefaults());
}

int MainWindow::slotReboot() { return device::statusOf(firmware::reboot()); }
