#include "app/browse.h"

#include <QFileDialog>
#include <QFileInfo>

QString browsedPath(QWidget* parent, const QString& caption, const QString& filter) {
  const QString chosen = QFileDialog::getOpenFileName(parent, caption, QString(), filter);
  return chosen.isEmpty() ? QString() : QFileInfo(chosen).filePath();
}
