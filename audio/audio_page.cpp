#include "app/main_window.h"

void MainWindow::slot_Read_AudioInfo() {}
void MainWindow::slot_setHDMIRX_Gain(int /*gain*/) {}
void MainWindow::slot_setHPOut_Gain(int /*gain*/) {}
void MainWindow::slot_CheckBoxStateChanged(int /*state*/) {}
