#include "app/main_window.h"

void MainWindow::slot_Read_EDID_Info() {}
void MainWindow::slot_Get_EDID() {}
void MainWindow::slotEDID_Set_ComboBox(int /*index*/) {}
void MainWindow::slot_WriteFlashEDOD() {}
