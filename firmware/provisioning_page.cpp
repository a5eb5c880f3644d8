#include "app/main_window.h"

void MainWindow::slotSerialNumRead() {}
void MainWindow::slotSerialNumSet() {}
void MainWindow::slotBrowseKeyPath() {}
int MainWindow::slotRestore() { return 0; }
int MainWindow::slotReboot() { return 0; }
