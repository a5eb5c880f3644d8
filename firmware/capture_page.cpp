#include "app/browse.h"
#include "app/main_window.h"
#include "app/worker.h"
#include "firmware/capture_image.h"
#include "firmware/update_capture_thread.h"
#include "ui_main_window.h"

#include <QMessageBox>
#include <QTimer>

namespace {

QString refusalText(firmware::ImageRefusal refusal) {
  switch (refusal) {
    case firmware::ImageRefusal::kUnknownModel:
      return QStringLiteral("Unknow VID/PID");
    case firmware::ImageRefusal::kCannotOpen:
      return QStringLiteral("Unable to open file");
    case firmware::ImageRefusal::kWrongModel:
      break;
  }
  return QStringLiteral("You may load the error file!");
}

}  // namespace

void MainWindow::slotBrowseCapPath() {
  const QString path = browsedPath(this, tr("Load Capture Firmware File"), tr("*.img"));
  if (path.isEmpty()) {
    qDebug("empty");
    return;
  }
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
  const auto ids = device::typedUsbIds(ui->Edit_VID->text(), ui->Edit_PID->text());
  if (!ids) {
    return;
  }
  const auto checked = firmware::checkCaptureImage(capFirmwarePath, *ids);
  if (!checked) {
    refuse(refusalText(checked.error()));
    return;
  }

  // Before the thread, which would otherwise set the progress back after the
  // timer's first look at it.
  const bool showedProgress = progressTimer->isActive();
  progressTimer->start();
  updateCaptureThread = new UpdateCaptureThread(this);
  if (!startWorker(updateCaptureThread)) {
    updateCaptureThread = nullptr;
    if (!showedProgress) {
      progressTimer->stop();
    }
    ui->LB_Message->setText(UpdateCaptureThread::failedText());
  }
}
