#include "app/main_window.h"

void MainWindow::slotBrowseCapPath() {}
void MainWindow::slotCapMcuUpdate() {}
