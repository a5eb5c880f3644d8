#include "app/main_window.h"

void MainWindow::slot_switchInputSrc() {}
void MainWindow::slot_Read_VideoInfo() {}
void MainWindow::slot_Set_RxHPD() {}
