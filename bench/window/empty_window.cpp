/// @file
/// The least that a program with a window does; and, to break that down, the same with one
/// text, and with one text but without OpenGL.
#include <QApplication>
#include <QLabel>
#include <QMainWindow>

int main(int argc, char** argv) {
#if defined(WITHOUT_OPENGL)
  QCoreApplication::setAttribute(Qt::AA_ForceRasterWidgets);
#endif
  const QApplication application(argc, argv);
  QMainWindow window;
  window.resize(668, 737);
#if defined(WITH_TEXT)
  new QLabel(QStringLiteral("A text"), &window);
#endif
  window.show();
  return QApplication::exec();
}
