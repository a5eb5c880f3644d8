#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

/// Writes a whole file. One that cannot be written ends the test program.
inline void writeFile(const QString& path, const QByteArray& content) {
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush()) {
    qFatal("%s cannot be written: %s", qPrintable(path), qPrintable(file.errorString()));
  }
}

/// The content of a file; "cannot be opened" for one that cannot.
inline QByteArray contentOf(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be opened");
}

/// Files of a test, in a folder that goes with this object.
class TestFiles {
 public:
  TestFiles() {
    if (!directory_.isValid()) {
      qFatal("no folder for test files: %s", qPrintable(directory_.errorString()));
    }
  }

  QString folder() const { return directory_.path(); }

  /// The path of a file in the folder, which need not exist.
  QString path(const QString& name) const { return directory_.filePath(name); }

  /// Writes a file of the folder.
  /// @return its path
  QString write(const QString& name, const QByteArray& content) const {
    QString path = directory_.filePath(name);
    writeFile(path, content);
    return path;
  }

 private:
  QTemporaryDir directory_;
};
