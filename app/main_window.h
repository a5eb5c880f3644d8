#pragma once

#include <QByteArray>
#include <QMainWindow>
#include <QString>

#include <cstdint>
#include <memory>

class MessageLine;
class QTimer;
class Ui_MainWindow;
class UpdateCaptureThread;
class UpdateThread;

/// The program's one window. Each user action reaches one slot, which calls the
/// device library and shows the outcome; the slots are defined in the folder of
/// their feature. GUI thread only.
class MainWindow : public QMainWindow {
  Q_OBJECT
  Q_DISABLE_COPY(MainWindow)

 public:
  explicit MainWindow(QWidget* parent = nullptr);
  /// Leaves the device as it is: no library call, no wait for a worker.
  ~MainWindow() override;

 private slots:
  // The order is that of the meta-object.
  void slotUSB_Connect();
  void on_BN_Info_Read_clicked();
  void slotSerialNumRead();
  void slotSerialNumSet();
  void slotBrowseKeyPath();
  void slotBrowseCapPath();
  void slot_Load_ExtMcu_Upgrade_Path();
  void slotExtMcuUpdate();
  void slotCapMcuUpdate();
  int slotRestore();
  int slotReboot();
  void soltSelectDeviceType(int index);
  void slotTimeoutExcute();
  void slot_switchInputSrc();
  void slot_Read_VideoInfo();
  void slot_Set_RxHPD();
  void slot_Read_AudioInfo();
  void slot_setHDMIRX_Gain(int gain);
  void slot_setHPOut_Gain(int gain);
  void slot_CheckBoxStateChanged(int state);
  void slot_Read_EDID_Info();
  void slot_Get_EDID();
  void slotEDID_Set_ComboBox(int index);
  void slot_WriteFlashEDOD();
  void slotI2C_Read();
  void slotI2C_Write();
  void slotGPIO_Read();
  void slotGPIO_Write();
  void slotTx_HDCP_Ctrl();

 private:
  friend class UpdateCaptureThread;
  friend class UpdateThread;
  friend struct MainWindowTestAccess;

  void makeConnections();
  void readFirmwareVersions();
  void readUvcName();
  void readManufacturer();
  void readProduct();

  std::unique_ptr<Ui_MainWindow> ui;
  /// Lets worker threads update the message line.
  std::shared_ptr<MessageLine> messageLine;

  /// Content of the external MCU firmware file loaded last.
  QByteArray extMcuFirmwareImage;
  /// Most recently started worker. Do not dereference after it has finished.
  UpdateThread* updateThread = nullptr;
  /// Most recently started worker. Do not dereference after it has finished.
  UpdateCaptureThread* updateCaptureThread = nullptr;
  /// A device session is open.
  bool isConnected = false;
  /// Path of the capture firmware image chosen last.
  QString capFirmwarePath;
  /// Shows the burn's progress; without owner, lives as long as the process.
  QTimer* progressTimer = nullptr;
  /// False while the constructor fills the form, so that nothing reaches the device.
  bool uiReady = false;
  /// The next change of `CB_EDID_Mode` is our own read-back: do not send it.
  bool edidModeEchoGuard = false;
  /// The next change of `CB_Current_FlashEDID_List` is our own read-back: do not send it.
  bool flashEdidEchoGuard = false;
  /// The next change of `HS_HPOUT_GAIN` is our own read-back: do not send it.
  bool hpOutGainSyncing = false;
};
