#pragma once

#include <QString>

#if defined(Q_OS_WIN)
#include "tests/support/dialog_answers.h"
#endif

/// Answers the next request for a file with this path, without the cost of a dialog:
/// the program's definitions of Qt's two functions take precedence over Qt's. On
/// Windows a dialog opens and is answered. One object at a time; GUI thread only.
class ChosenFile {
 public:
  explicit ChosenFile(const QString& path);
  ~ChosenFile();
  Q_DISABLE_COPY_MOVE(ChosenFile)

  /// How often a file was asked for.
  int timesAsked() const;
  /// How many message boxes this object answered; always 0 except on Windows.
  int messageBoxes() const;

#if !defined(Q_OS_WIN)
  /// The current object, if any.
  static ChosenFile* current();
  /// Returns the path the first time, then an empty one.
  QString take();
#endif

 private:
#if defined(Q_OS_WIN)
  DialogAnswers answers_;
#else
  QString path_;
  int timesAsked_ = 0;
#endif
};
