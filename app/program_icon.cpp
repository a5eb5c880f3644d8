#include "app/program_icon.h"

#include <QtGlobal>

#if !defined(Q_OS_WIN)

#include <QApplication>
#include <QIcon>

// In a static library a resource is left out unless something names it. The macro
// must stand outside every namespace.
static void loadPictures() { Q_INIT_RESOURCE(program_icon); }

void setProgramIcon() {
  loadPictures();
  QIcon icon;
  for (const int size : {16, 24, 32, 48, 64, 128}) {
    icon.addFile(QStringLiteral(":/icons/%1.png").arg(size));
  }
  QApplication::setWindowIcon(icon);
}

#else

void setProgramIcon() {}

#endif
