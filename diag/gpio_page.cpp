#include "app/main_window.h"

void MainWindow::slotGPIO_Read() {}
void MainWindow::slotGPIO_Write() {}
void MainWindow::slotTx_HDCP_Ctrl() {}
