#include "app/main_window.h"

void MainWindow::slotI2C_Read() {}
void MainWindow::slotI2C_Write() {}
