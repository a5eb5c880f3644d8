#include "app/high_dpi.h"
#include "app/main_window.h"
#include "app/program_icon.h"
#include "app/standard_streams.h"

#include <QApplication>

#if defined(Q_OS_WIN)
#include <windows.h>
#endif

int main(int argc, char* argv[]) {
#if defined(Q_OS_WIN)
  // What is loaded from here on does not come from the current directory, which
  // is wherever the last file was chosen.
  SetDllDirectoryW(L"");
#endif
  secureStandardStreams();
  enableHighDpi(argc, argv);
  // Nothing here draws with OpenGL. Loading it takes more than half of the start
  // and of the memory.
  QCoreApplication::setAttribute(Qt::AA_ForceRasterWidgets);
  QApplication application(argc, argv);
  setProgramIcon();
  MainWindow window;
  window.show();
  return QApplication::exec();
}
