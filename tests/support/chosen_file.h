#pragma once

#include <QString>

#if defined(Q_OS_WIN)
#include "tests/support/dialog_answers.h"
#endif

/// Gives a file, once, to whoever asks for one while this lives. Dialogs are slow,
/// so none opens: Qt's functions that open one are replaced, as what the program
/// defines comes before what Qt's library does. On Windows a dialog opens and is
/// answered. One at a time; GUI thread only.
class ChosenFile {
 public:
  explicit ChosenFile(const QString& path);
  ~ChosenFile();
  Q_DISABLE_COPY_MOVE(ChosenFile)

  /// How often a file was asked for.
  int timesAsked() const;
  /// How many message boxes this has answered, which it does on Windows only.
  int messageBoxes() const;

#if !defined(Q_OS_WIN)
  /// The one that lives, if any.
  static ChosenFile* current();
  /// Hands the file out.
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
