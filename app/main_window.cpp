#include "app/main_window.h"

#include "app/message_line.h"
#include "app/plain_labels.h"
#include "app/program_state.h"
#include "app/value_label_accessibility.h"
#include "ui_main_window.h"

#include <QCoreApplication>
#include <QPixmap>
#include <QThread>
#include <QTimer>

namespace {

// Never freed: the timer lives as long as the process. Separate function so that
// the leak suppression can name it.
QTimer* makeOwnerlessTimer() { return new QTimer; }

}  // namespace

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent), ui(std::make_unique<Ui_MainWindow>()) {
  describeValueLabels();
  new PlainLabels(this);
  ui->setupUi(this);
  messageLine = std::make_shared<MessageLine>(ui->LB_Message);

  // Highest first, so that each index still names the page the form put there.
  for (const int page : {6, 5, 4, 3, 1}) {
    ui->tabWidget->removeTab(page);
  }

  ui->Edit_VID->setText(QStringLiteral("5C19"));
  ui->Edit_PID->setText(QStringLiteral("6B03"));

  ui->logo->setPixmap(QPixmap(QCoreApplication::applicationDirPath() + QStringLiteral("/Orvenhal Logo.png")));
  ui->logo->setScaledContents(true);

  makeConnections();

  progressTimer = makeOwnerlessTimer();
  progressTimer->setInterval(500);
  connect(progressTimer, &QTimer::timeout, this, &MainWindow::slotTimeoutExcute);

  ui->CB_DeviceType->insertItems(ui->CB_DeviceType->count(), {QStringLiteral("KVR-7"), QStringLiteral("KVR-5B")});
  ui->CB_EDID_Mode->insertItems(ui->CB_EDID_Mode->count(),
                                {QStringLiteral("From Flash"), QStringLiteral("Follow TX"),
                                 QStringLiteral("Follow USB"), QStringLiteral("Mixed default and TX")});

  QStringList pins;
  for (int pin = 0; pin < 14; ++pin) {
    pins << QStringLiteral("GPIO%1").arg(pin);
  }
  ui->CB_GPIO_INDEX->insertItems(ui->CB_GPIO_INDEX->count(), pins);

  QStringList edidSlots;
  for (int slot = 0; slot < 7; ++slot) {
    edidSlots << QString::number(slot);
  }
  for (QComboBox* list : {ui->CB_Current_FlashEDID_List, ui->CB_FlashEDID_List, ui->CB_FlashEDID_List_2}) {
    list->insertItems(list->count(), edidSlots);
  }
  for (QComboBox* list : {ui->CB_FlashEDID_List, ui->CB_FlashEDID_List_2, ui->CB_DeviceType}) {
    list->setCurrentIndex(0);
  }

  ui->Edit_VID->setReadOnly(true);
  ui->Edit_PID->setReadOnly(true);
  uiReady = true;
}

MainWindow::~MainWindow() {
  messageLine->detach();
  // Detach running workers so that closing neither waits for nor deletes them:
  // they end with their work or with the process. `isRunning()` may already be
  // false while the thread is ending, so it is not asked. Nor may a worker delete
  // itself: posting that could meet the application's own end.
  for (QThread* worker : findChildren<QThread*>(QString(), Qt::FindDirectChildrenOnly)) {
    worker->setParent(nullptr);
    disconnect(worker, &QThread::finished, worker, nullptr);
  }
}

void MainWindow::makeConnections() {
  connect(ui->BN_Connect, &QAbstractButton::clicked, this, &MainWindow::slotUSB_Connect);
  connect(ui->BN_SN_Read, &QAbstractButton::clicked, this, &MainWindow::slotSerialNumRead);
  connect(ui->BN_SN_Set, &QAbstractButton::clicked, this, &MainWindow::slotSerialNumSet);
  connect(ui->BN_Browse_Key, &QAbstractButton::clicked, this, &MainWindow::slotBrowseKeyPath);
  connect(ui->BN_Browse_ExtMCU, &QAbstractButton::clicked, this, &MainWindow::slot_Load_ExtMcu_Upgrade_Path);
  connect(ui->BN_Apply_ExtMCU, &QAbstractButton::clicked, this, &MainWindow::slotExtMcuUpdate);
  connect(ui->BN_Browse_ExtMCU_QX, &QAbstractButton::clicked, this, &MainWindow::slot_Load_ExtMcu_Upgrade_Path);
  connect(ui->BN_Apply_ExtMCU_QX, &QAbstractButton::clicked, this, &MainWindow::slotExtMcuUpdate);
  connect(ui->BN_Browse_Cap_QX, &QAbstractButton::clicked, this, &MainWindow::slotBrowseCapPath);
  connect(ui->BN_Apply_CapMCU_QX, &QAbstractButton::clicked, this, &MainWindow::slotCapMcuUpdate);
  connect(ui->BN_Browse_Cap, &QAbstractButton::clicked, this, &MainWindow::slotBrowseCapPath);
  connect(ui->BN_Apply_CapMCU, &QAbstractButton::clicked, this, &MainWindow::slotCapMcuUpdate);
  connect(ui->BN_Apply_Reset, &QAbstractButton::clicked, this, &MainWindow::slotRestore);
  connect(ui->BN_Apply_Reboot, &QAbstractButton::clicked, this, &MainWindow::slotReboot);
  connect(ui->RB_Src_HDMI, &QAbstractButton::clicked, this, &MainWindow::slot_switchInputSrc);
  connect(ui->RB_Src_DP, &QAbstractButton::clicked, this, &MainWindow::slot_switchInputSrc);
  connect(ui->BN_Video_Read, &QAbstractButton::clicked, this, &MainWindow::slot_Read_VideoInfo);
  connect(ui->BN_RX_HPD_ON, &QAbstractButton::clicked, this, &MainWindow::slot_Set_RxHPD);
  connect(ui->BN_RX_HPD_OFF, &QAbstractButton::clicked, this, &MainWindow::slot_Set_RxHPD);
  connect(ui->BN_Audio_Read, &QAbstractButton::clicked, this, &MainWindow::slot_Read_AudioInfo);
  connect(ui->HS_HDMIRX_GAIN, &QSlider::valueChanged, ui->SB_HDMIRX_GAIN, &QSpinBox::setValue);
  connect(ui->HS_HDMIRX_GAIN, &QSlider::valueChanged, this, &MainWindow::slot_setHDMIRX_Gain);
  connect(ui->HS_HPOUT_GAIN, &QSlider::valueChanged, ui->SB_HPOUT_GAIN, &QSpinBox::setValue);
  connect(ui->HS_HPOUT_GAIN, &QSlider::valueChanged, this, &MainWindow::slot_setHPOut_Gain);
  connect(ui->CB_DACHP_MUTE, &QCheckBox::stateChanged, this, &MainWindow::slot_CheckBoxStateChanged);
  connect(ui->CB_DeviceType, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
          &MainWindow::soltSelectDeviceType);
  connect(ui->BN_EDID_Read, &QAbstractButton::clicked, this, &MainWindow::slot_Read_EDID_Info);
  connect(ui->CB_EDID_Mode, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
          &MainWindow::slotEDID_Set_ComboBox);
  connect(ui->CB_Current_FlashEDID_List, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
          &MainWindow::slotEDID_Set_ComboBox);
  connect(ui->BN_Apply_ReadTxEDID, &QAbstractButton::clicked, this, &MainWindow::slot_Get_EDID);
  connect(ui->BN_Apply_ReadFlashEDID, &QAbstractButton::clicked, this, &MainWindow::slot_Get_EDID);
  connect(ui->BN_Apply_Read_DDC_EDID, &QAbstractButton::clicked, this, &MainWindow::slot_Get_EDID);
  connect(ui->BN_Apply_WriteFlashEDID, &QAbstractButton::clicked, this, &MainWindow::slot_WriteFlashEDOD);
  connect(ui->BN_I2C_Read, &QAbstractButton::clicked, this, &MainWindow::slotI2C_Read);
  connect(ui->BN_I2C_Write, &QAbstractButton::clicked, this, &MainWindow::slotI2C_Write);
  connect(ui->BN_GPIO_Read, &QAbstractButton::clicked, this, &MainWindow::slotGPIO_Read);
  connect(ui->BN_GPIO_Write, &QAbstractButton::clicked, this, &MainWindow::slotGPIO_Write);
  connect(ui->RB_TX_HDCP_ON, &QAbstractButton::clicked, this, &MainWindow::slotTx_HDCP_Ctrl);
  connect(ui->RB_TX_HDCP_OFF, &QAbstractButton::clicked, this, &MainWindow::slotTx_HDCP_Ctrl);
}

void MainWindow::slotTimeoutExcute() {
  const std::int32_t percent = burnProgress.load(std::memory_order_relaxed);
  ui->LB_Message->setText(QString::number(percent) + QLatin1Char('%'));
  if (percent > 99) {
    progressTimer->stop();
  }
}
