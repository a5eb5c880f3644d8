#include "app/main_window.h"
#include "firmware/update_thread.h"
#include "ui_main_window.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>

#include <new>

namespace {

// A file that cannot be read to its end gives no image at all: the device must
// not get a piece of one.
QByteArray wholeContent(QFile& file) {
  try {
    const QByteArray content = file.readAll();
    return file.error() == QFileDevice::NoError ? content : QByteArray();
  } catch (const std::bad_alloc&) {
    return {};
  }
}

}  // namespace

void MainWindow::slot_Load_ExtMcu_Upgrade_Path() {
  const QString chosen = QFileDialog::getOpenFileName(this, tr("Load Ext MCU Firmware file"), QString(), tr("*.bin"));
  if (chosen.isEmpty()) {
    return;
  }
  QFile file(chosen);
  // A pipe or a device could keep the window waiting for ever.
  if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly)) {
    return;
  }
  const QString path = QFileInfo(file).filePath();
  ui->lineEdit_ExtMcu_Path->setText(path);
  ui->lineEdit_ExtMcu_Path_QX->setText(path);
  extMcuFirmwareImage = wholeContent(file);
}

void MainWindow::slotExtMcuUpdate() {
  updateThread = new UpdateThread(this);
  connect(updateThread, &QThread::finished, updateThread, &QObject::deleteLater);
  updateThread->start(QThread::InheritPriority);
}
