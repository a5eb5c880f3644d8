#include "app/main_window.h"
#include "firmware/capture_image.h"
#include "firmware/update_capture_thread.h"
#include "ui_main_window.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QTimer>

void MainWindow::slotBrowseCapPath() {
  const QString chosen = QFileDialog::getOpenFileName(this, tr("Load Capture Firmware File"), QString(), tr("*.img"));
  if (chosen.isEmpty()) {
    qDebug("empty");
    return;
  }
  const QString path = QFileInfo(chosen).filePath();
  ui->lineEdit_Cap_Path_QX->setText(path);
  ui->lineEdit_Cap_Path->setText(path);
  capFirmwarePath = path;
}

void MainWindow::slotCapMcuUpdate() {
  const auto refuse = [this](const QString& reason) { QMessageBox::warning(this, QStringLiteral("Error"), reason); };
  if (!isConnected) {
    refuse(QStringLiteral("Connect the decive first!"));
    return;
  }
  if (ui->lineEdit_Cap_Path_QX->text().isEmpty()) {
    refuse(QStringLiteral("Load one firmware file first!"));
    return;
  }
  const QString vid = ui->Edit_VID->text().trimmed();
  const QString pid = ui->Edit_PID->text().trimmed();
  if (vid.isEmpty() || pid.isEmpty()) {
    return;
  }
  const auto model = firmware::modelText({vid.toUInt(nullptr, 16), pid.toUInt(nullptr, 16)});
  if (!model) {
    refuse(QStringLiteral("Unknow VID/PID"));
    return;
  }

  QFile image(capFirmwarePath);
  // A pipe or a device could keep the window waiting for ever.
  if (!QFileInfo(image).isFile() || !image.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
    refuse(QStringLiteral("Unable to open file"));
    return;
  }
  if (!firmware::containsText(image, *model)) {
    refuse(QStringLiteral("You may load the error file!"));
    return;
  }
  image.close();

  updateCaptureThread = new UpdateCaptureThread(this);
  connect(updateCaptureThread, &QThread::finished, updateCaptureThread, &QObject::deleteLater);
  progressTimer->start();
  updateCaptureThread->start(QThread::InheritPriority);
}
