#include "app/high_dpi.h"
#include "app/main_window.h"

#include <QApplication>

int main(int argc, char* argv[]) {
  enableHighDpi();
  QApplication application(argc, argv);
  MainWindow window;
  window.show();
  return QApplication::exec();
}
