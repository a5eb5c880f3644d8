#include "app/browse.h"
#include "app/main_window.h"
#include "app/worker.h"
#include "firmware/mcu_image.h"
#include "firmware/update_thread.h"
#include "ui_main_window.h"

void MainWindow::slot_Load_ExtMcu_Upgrade_Path() {
  const QString path = browsedPath(this, tr("Load Ext MCU Firmware file"), tr("*.bin"));
  if (path.isEmpty()) {
    return;
  }
  const auto image = firmware::readMcuImage(path);
  if (!image && image.error() == firmware::ImageFailure::kCannotOpen) {
    return;
  }
  ui->lineEdit_ExtMcu_Path->setText(path);
  ui->lineEdit_ExtMcu_Path_QX->setText(path);
  // A file that cannot be read leaves no image, not the one before.
  extMcuFirmwareImage = image.value_or(QByteArray());
}

void MainWindow::slotExtMcuUpdate() {
  updateThread = new UpdateThread(this);
  if (!startWorker(updateThread)) {
    updateThread = nullptr;
    // A text of an earlier upgrade must not be taken for this one.
    ui->LB_Message->setText(UpdateThread::failedText());
  }
}
