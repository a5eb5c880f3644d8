#include "app/main_window.h"

#include <QApplication>

int main(int argc, char* argv[]) {
  // Fixed geometry stays in device-independent pixels: Qt scales it, also by
  // fractions such as 150 %.
  QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
  QApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);

  QApplication application(argc, argv);
  MainWindow window;
  window.show();
  return QApplication::exec();
}
