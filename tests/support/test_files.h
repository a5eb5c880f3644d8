#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

/// Writes a whole file. A failure ends the test program.
inline void writeFile(const QString& path, const QByteArray& content) {
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush()) {
    qFatal("%s cannot be written: %s", qPrintable(path), qPrintable(file.errorString()));
  }
}

/// The content of a file, or "cannot be opened".
inline QByteArray contentOf(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be opened");
}

/// A test's files, in a temporary folder that is removed with this object.
class TestFiles {
 public:
  TestFiles() {
    if (!directory_.isValid()) {
      qFatal("no folder for test files: %s", qPrintable(directory_.errorString()));
    }
  }

  QString folder() const { return directory_.path(); }

  /// The path of a file in the folder; the file need not exist.
  QString path(const QString& name) const { return directory_.filePath(name); }

  /// Writes a file in the folder.
  /// @return its path
  QString write(const QString& name, const QByteArray& content) const {
    QString path = directory_.filePath(name);
    writeFile(path, content);
    return path;
  }

 private:
  QTemporaryDir directory_;
};
