/// @file
/// The least that a program with a window does.
#include <QApplication>
#include <QMainWindow>

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  QMainWindow window;
  window.resize(668, 737);
  window.show();
  return QApplication::exec();
}
