#pragma once

#include <QFileDialog>

#include <utility>

#if defined(Q_OS_WIN)
#include "tests/support/dialog_answers.h"
#endif

/// The file that whoever asks for one while this lives gets, once. A test that
/// asks thousands of times has no time for the dialogs: in a test program that
/// includes this (in one source), Qt's functions that open one are replaced, as
/// what the program defines comes before what Qt's library does. On Windows the
/// dialogs open.
class ChosenFile {
 public:
  explicit ChosenFile(const QString& path) {
#if defined(Q_OS_WIN)
    answers_.chooseFile(path);
#else
    next() = path;
    asked() = 0;
#endif
  }
  Q_DISABLE_COPY_MOVE(ChosenFile)

#if defined(Q_OS_WIN)
 private:
  DialogAnswers answers_;
#else
  ~ChosenFile() { next().clear(); }

  static QString take() {
    ++asked();
    return std::exchange(next(), QString());
  }

  /// How often one was asked for since the last object was made.
  static int timesAsked() { return asked(); }

 private:
  static QString& next() {
    static QString path;
    return path;
  }
  static int& asked() {
    static int times = 0;
    return times;
  }
#endif
};

#if !defined(Q_OS_WIN)
QString QFileDialog::getOpenFileName(QWidget*, const QString&, const QString&, const QString&, QString*, Options) {
  return ChosenFile::take();
}

QString QFileDialog::getSaveFileName(QWidget*, const QString&, const QString&, const QString&, QString*, Options) {
  return ChosenFile::take();
}
#endif
