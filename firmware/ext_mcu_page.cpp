#include "app/main_window.h"

void MainWindow::slot_Load_ExtMcu_Upgrade_Path() {}
void MainWindow::slotExtMcuUpdate() {}
