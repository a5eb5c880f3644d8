#include "app/main_window.h"
#include "device/RTICE_SDK_x64.h"
#include "edid/edid_file.h"
#include "ui_main_window.h"

#include <QApplication>
#include <QDebug>
#include <QFile>
#include <QFileDialog>
#include <QMessageBox>

#include <array>

void MainWindow::slot_Read_EDID_Info() {
  std::uint8_t mode = 0;
  if (AT_EDID_Get_EDID_mode(&mode) != 0) {
    ui->LB_Message->setText(QStringLiteral("Read EDID Mode...[fail]"));
    return;
  }
  // The guard also stands when the row does not change: it then swallows the
  // next change, whoever makes it.
  edidModeEchoGuard = true;
  ui->CB_EDID_Mode->setCurrentIndex(mode);

  std::uint8_t slot = 0;
  if (AT_EDID_Flash_Get_Default_table(&slot) != 0) {
    ui->LB_Message->setText(QStringLiteral("Get Default Flash EDID index...[fail]"));
    return;
  }
  flashEdidEchoGuard = true;
  ui->CB_Current_FlashEDID_List->setCurrentIndex(slot);
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
    const bool failed = AT_EDID_Set_EDID_mode(index) != 0;
    ui->LB_Message->setText(failed ? QStringLiteral("Set EDID Mode...[fail]")
                                   : QStringLiteral("Set EDID Mode...[Done]"));
  } else if (sender() == ui->CB_Current_FlashEDID_List) {
    qDebug("set flash EDID task");
    if (flashEdidEchoGuard) {
      qDebug("flash EDID index update");
      flashEdidEchoGuard = false;
      return;
    }
    const bool failed = AT_EDID_Flash_Set_Default_table(static_cast<std::uint8_t>(index)) != 0;
    ui->LB_Message->setText(failed ? QStringLiteral("Set Flash EDID table...[fail]")
                                   : QStringLiteral("Set Flash EDID table...[Done]"));
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
  if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
    QMessageBox::warning(this, QStringLiteral("error"), QStringLiteral("Open file failed"), QMessageBox::Ok);
    return;
  }

  std::uint32_t size = 512;
  if (ui->RB_TX_EDID_256->isChecked()) {
    size = 256;
  } else if (ui->RB_TX_EDID_384->isChecked()) {
    size = 384;
  }
  std::array<std::uint8_t, edid::kMaxTableSize> table{};
  const auto slot = static_cast<std::uint8_t>(ui->CB_FlashEDID_List->currentIndex());

  std::int32_t status = 0;
  QString failure;
  if (button == ui->BN_Apply_ReadTxEDID) {
    status = AT_EDID_Get_TX_table(size, table.data());
    failure = QStringLiteral("Read Tx EDID...[fail]");
  } else if (button == ui->BN_Apply_ReadFlashEDID) {
    status = AT_EDID_Flash_Get_table(slot, table.data(), size);
    failure = QStringLiteral("Read Flash EDID...[fail]");
  } else if (button == ui->BN_Apply_Read_DDC_EDID) {
    status = AT_EDID_DDC_Get_RX_table(size, table.data());
    failure = QStringLiteral("Read DDC EDID...[fail]");
  } else {
    return;
  }
  // A table that is not in its file has not been saved, wherever it was lost.
  if (status != 0 || !edid::writeTable(file, std::span(table).first(size))) {
    ui->LB_Message->setText(failure);
  }
}

void MainWindow::slot_WriteFlashEDOD() {
  const QString path = QFileDialog::getOpenFileName(this, tr("Load EDID bin file"), QString(), tr("*.bin"));
  if (path.isEmpty()) {
    return;
  }
  const std::optional<QByteArray> table = edid::readTable(path);
  if (!table) {
    return;
  }
  const auto slot = static_cast<std::uint8_t>(ui->CB_FlashEDID_List_2->currentIndex());

  QApplication::setOverrideCursor(Qt::WaitCursor);
  const bool failed = AT_EDID_Flash_Set_table(slot, reinterpret_cast<const std::uint8_t*>(table->constData()),
                                              static_cast<std::uint32_t>(table->size())) != 0;
  ui->LB_Message->setText(failed ? QStringLiteral("Write flash EDID table...[fail]")
                                 : QStringLiteral("Write flash EDID table...[Done]"));
  QApplication::restoreOverrideCursor();
}
