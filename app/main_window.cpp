#include "app/main_window.h"

#include "app/message_line.h"
#include "app/program_state.h"
#include "ui_main_window.h"

#include <QCoreApplication>
#include <QPixmap>
#include <QThread>
#include <QTimer>

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent), ui(std::make_unique<Ui_MainWindow>()) {
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

  progressTimer = new QTimer;
  progressTimer->setInterval(500);
  connect(progressTimer, SIGNAL(timeout()), this, SLOT(slotTimeoutExcute()));

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
  // A worker still running must survive the object tree: neither stopped nor
  // deleted here, it ends with its work or with the process.
  for (QThread* worker : findChildren<QThread*>(QString(), Qt::FindDirectChildrenOnly)) {
    worker->setParent(nullptr);
  }
}

// By name, so that the private slots' signatures are looked up in the
// meta-object exactly as they are declared.
void MainWindow::makeConnections() {
  connect(ui->BN_Connect, SIGNAL(clicked()), this, SLOT(slotUSB_Connect()));
  connect(ui->BN_SN_Read, SIGNAL(clicked()), this, SLOT(slotSerialNumRead()));
  connect(ui->BN_SN_Set, SIGNAL(clicked()), this, SLOT(slotSerialNumSet()));
  connect(ui->BN_Browse_Key, SIGNAL(clicked()), this, SLOT(slotBrowseKeyPath()));
  connect(ui->BN_Browse_ExtMCU, SIGNAL(clicked()), this, SLOT(slot_Load_ExtMcu_Upgrade_Path()));
  connect(ui->BN_Apply_ExtMCU, SIGNAL(clicked()), this, SLOT(slotExtMcuUpdate()));
  connect(ui->BN_Browse_ExtMCU_QX, SIGNAL(clicked()), this, SLOT(slot_Load_ExtMcu_Upgrade_Path()));
  connect(ui->BN_Apply_ExtMCU_QX, SIGNAL(clicked()), this, SLOT(slotExtMcuUpdate()));
  connect(ui->BN_Browse_Cap_QX, SIGNAL(clicked()), this, SLOT(slotBrowseCapPath()));
  connect(ui->BN_Apply_CapMCU_QX, SIGNAL(clicked()), this, SLOT(slotCapMcuUpdate()));
  connect(ui->BN_Browse_Cap, SIGNAL(clicked()), this, SLOT(slotBrowseCapPath()));
  connect(ui->BN_Apply_CapMCU, SIGNAL(clicked()), this, SLOT(slotCapMcuUpdate()));
  connect(ui->BN_Apply_Reset, SIGNAL(clicked()), this, SLOT(slotRestore()));
  connect(ui->BN_Apply_Reboot, SIGNAL(clicked()), this, SLOT(slotReboot()));
  connect(ui->RB_Src_HDMI, SIGNAL(clicked()), this, SLOT(slot_switchInputSrc()));
  connect(ui->RB_Src_DP, SIGNAL(clicked()), this, SLOT(slot_switchInputSrc()));
  connect(ui->BN_Video_Read, SIGNAL(clicked()), this, SLOT(slot_Read_VideoInfo()));
  connect(ui->BN_RX_HPD_ON, SIGNAL(clicked()), this, SLOT(slot_Set_RxHPD()));
  connect(ui->BN_RX_HPD_OFF, SIGNAL(clicked()), this, SLOT(slot_Set_RxHPD()));
  connect(ui->BN_Audio_Read, SIGNAL(clicked()), this, SLOT(slot_Read_AudioInfo()));
  connect(ui->HS_HDMIRX_GAIN, SIGNAL(valueChanged(int)), ui->SB_HDMIRX_GAIN, SLOT(setValue(int)));
  connect(ui->HS_HDMIRX_GAIN, SIGNAL(valueChanged(int)), this, SLOT(slot_setHDMIRX_Gain(int)));
  connect(ui->HS_HPOUT_GAIN, SIGNAL(valueChanged(int)), ui->SB_HPOUT_GAIN, SLOT(setValue(int)));
  connect(ui->HS_HPOUT_GAIN, SIGNAL(valueChanged(int)), this, SLOT(slot_setHPOut_Gain(int)));
  connect(ui->CB_DACHP_MUTE, SIGNAL(stateChanged(int)), this, SLOT(slot_CheckBoxStateChanged(int)));
  connect(ui->CB_DeviceType, SIGNAL(currentIndexChanged(int)), this, SLOT(soltSelectDeviceType(int)));
  connect(ui->BN_EDID_Read, SIGNAL(clicked()), this, SLOT(slot_Read_EDID_Info()));
  connect(ui->CB_EDID_Mode, SIGNAL(currentIndexChanged(int)), this, SLOT(slotEDID_Set_ComboBox(int)));
  connect(ui->CB_Current_FlashEDID_List, SIGNAL(currentIndexChanged(int)), this, SLOT(slotEDID_Set_ComboBox(int)));
  connect(ui->BN_Apply_ReadTxEDID, SIGNAL(clicked()), this, SLOT(slot_Get_EDID()));
  connect(ui->BN_Apply_ReadFlashEDID, SIGNAL(clicked()), this, SLOT(slot_Get_EDID()));
  connect(ui->BN_Apply_Read_DDC_EDID, SIGNAL(clicked()), this, SLOT(slot_Get_EDID()));
  connect(ui->BN_Apply_WriteFlashEDID, SIGNAL(clicked()), this, SLOT(slot_WriteFlashEDOD()));
  connect(ui->BN_I2C_Read, SIGNAL(clicked()), this, SLOT(slotI2C_Read()));
  connect(ui->BN_I2C_Write, SIGNAL(clicked()), this, SLOT(slotI2C_Write()));
  connect(ui->BN_GPIO_Read, SIGNAL(clicked()), this, SLOT(slotGPIO_Read()));
  connect(ui->BN_GPIO_Write, SIGNAL(clicked()), this, SLOT(slotGPIO_Write()));
  connect(ui->RB_TX_HDCP_ON, SIGNAL(clicked()), this, SLOT(slotTx_HDCP_Ctrl()));
  connect(ui->RB_TX_HDCP_OFF, SIGNAL(clicked()), this, SLOT(slotTx_HDCP_Ctrl()));
}

void MainWindow::slotTimeoutExcute() {
  const std::int32_t percent = burnProgress.load(std::memory_order_relaxed);
  ui->LB_Message->setText(QString::number(percent) + QLatin1Char('%'));
  if (percent > 99) {
    progressTimer->stop();
  }
}
