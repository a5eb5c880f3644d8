#include "app/browse.h"
#include "app/main_window.h"
#include "device/regular_file.h"
#include "edid/edid_calls.h"
#include "edid/edid_file.h"
#include "ui_main_window.h"

#include <QApplication>
#include <QDebug>
#include <QFile>
#include <QFileDialog>
#include <QMessageBox>

#include <span>

namespace {

std::span<const std::uint8_t> viewOf(const QByteArray& bytes) {
  return {reinterpret_cast<const std::uint8_t*>(bytes.constData()), static_cast<std::size_t>(bytes.size())};
}

edid::TableSize checkedSize(const Ui_MainWindow& ui) {
  if (ui.RB_TX_EDID_256->isChecked()) {
    return edid::TableSize::k256;
  }
  return ui.RB_TX_EDID_384->isChecked() ? edid::TableSize::k384 : edid::TableSize::k512;
}

std::uint8_t slotOf(const QComboBox& list) { return static_cast<std::uint8_t>(list.currentIndex()); }

}  // namespace

void MainWindow::slot_Read_EDID_Info() {
  const auto mode = edid::readMode();
  if (!mode) {
    ui->LB_Message->setText(QStringLiteral("Read EDID Mode...[fail]"));
    return;
  }
  // The guard also stands when the row does not change: it then swallows the
  // next change, whoever makes it.
  edidModeEchoGuard = true;
  ui->CB_EDID_Mode->setCurrentIndex(*mode);

  const auto slot = edid::readDefaultSlot();
  if (!slot) {
    ui->LB_Message->setText(QStringLiteral("Get Default Flash EDID index...[fail]"));
    return;
  }
  flashEdidEchoGuard = true;
  ui->CB_Current_FlashEDID_List->setCurrentIndex(*slot);
}

void MainWindow::slotEDID_Set_ComboBox(int index) {
  if (!uiReady) {
    return;
  }
  if (sender() == ui->CB_EDID_Mode) {
    if (edidModeEchoGuard) {
      edidModeEchoGuard = false;
      return;
    }
    const auto set = edid::setMode(index);
    ui->LB_Message->setText(set ? QStringLiteral("Set EDID Mode...[Done]") : QStringLiteral("Set EDID Mode...[fail]"));
  } else if (sender() == ui->CB_Current_FlashEDID_List) {
    qDebug("set flash EDID task");
    if (flashEdidEchoGuard) {
      qDebug("flash EDID index update");
      flashEdidEchoGuard = false;
      return;
    }
    const auto set = edid::setDefaultSlot(static_cast<std::uint8_t>(index));
    ui->LB_Message->setText(set ? QStringLiteral("Set Flash EDID table...[Done]")
                                : QStringLiteral("Set Flash EDID table...[fail]"));
  }
}

void MainWindow::slot_Get_EDID() {
  const QObject* const button = sender();
  const QString path = QFileDialog::getSaveFileName(this, tr("Down Tx EDID File"), QString(), tr("*.bin"));
  if (path.isEmpty()) {
    return;
  }
  // Before the device is read: after a failed read the file is there, empty.
  QFile file(path);
  if (!device::openRegularFile(file, QIODevice::WriteOnly | QIODevice::Unbuffered)) {
    QMessageBox::warning(this, QStringLiteral("error"), QStringLiteral("Open file failed"), QMessageBox::Ok);
    return;
  }

  const edid::TableSize size = checkedSize(*ui);
  device::Result<QByteArray> table;
  QString failure;
  if (button == ui->BN_Apply_ReadTxEDID) {
    table = edid::readSinkTable(size);
    failure = QStringLiteral("Read Tx EDID...[fail]");
  } else if (button == ui->BN_Apply_ReadFlashEDID) {
    table = edid::readFlashTable(slotOf(*ui->CB_FlashEDID_List), size);
    failure = QStringLiteral("Read Flash EDID...[fail]");
  } else if (button == ui->BN_Apply_Read_DDC_EDID) {
    table = edid::readDdcTable(size);
    failure = QStringLiteral("Read DDC EDID...[fail]");
  } else {
    return;
  }
  // A table that is not in its file has not been saved, wherever it was lost.
  if (!table || !edid::writeTable(file, viewOf(*table))) {
    ui->LB_Message->setText(failure);
  }
}

void MainWindow::slot_WriteFlashEDOD() {
  const QString path = browsedPath(this, tr("Load EDID bin file"), tr("*.bin"));
  if (path.isEmpty()) {
    return;
  }
  const std::optional<QByteArray> table = edid::readTable(path);
  if (!table) {
    return;
  }

  QApplication::setOverrideCursor(Qt::WaitCursor);
  const auto written = edid::writeFlashTable(slotOf(*ui->CB_FlashEDID_List_2), viewOf(*table));
  ui->LB_Message->setText(written ? QStringLiteral("Write flash EDID table...[Done]")
                                  : QStringLiteral("Write flash EDID table...[fail]"));
  QApplication::restoreOverrideCursor();
}
