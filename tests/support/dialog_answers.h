#pragma once

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <utility>

/// Answers modal dialogs that open during its lifetime, as a user would, and records
/// what they showed. Presses OK in a message box (or Yes if there is no OK). Types the
/// next given name into a file dialog and accepts, or cancels if no name is left. If
/// there are several objects, the newest answers.
///
///     DialogAnswers answers;
///     answers.chooseFile(path);
///     user.click("BN_Browse_Cap");
///     QCOMPARE(answers.fileDialogs().size(), 1);
class DialogAnswers {
 public:
  struct ShownMessage {
    QMessageBox::Icon icon;
    QString title;
    QString text;
    bool isModal;
    const QObject* parent;
  };
  struct ShownFileDialog {
    QString title;
    QStringList filters;
    QFileDialog::AcceptMode mode;
    bool isModal;
    const QObject* parent;
  };

  DialogAnswers() : previous_(std::exchange(last(), this)) { watch(); }
  ~DialogAnswers() { last() = previous_; }
  Q_DISABLE_COPY_MOVE(DialogAnswers)

  /// Adds a file for the next file dialog that has none yet.
  void chooseFile(const QString& path) { files_ << path; }

  /// The message boxes so far, in order.
  const QVector<ShownMessage>& messages() const { return messages_; }
  /// The file dialogs so far, in order. A dialog that asks again counts again.
  const QVector<ShownFileDialog>& fileDialogs() const { return fileDialogs_; }

 private:
  static DialogAnswers*& last() {
    static DialogAnswers* theLast = nullptr;
    return theLast;
  }

  // Restarts the timer before each answer, because an answer may open the next dialog,
  // whose event loop then runs inside it.
  void watch() {
    QTimer::singleShot(1, &context_, [this] {
      watch();
      QWidget* const dialog = QApplication::activeModalWidget();
      if (last() != this || dialog == nullptr || !dialog->isVisible()) {
        return;
      }
      if (auto* const box = qobject_cast<QMessageBox*>(dialog)) {
        answer(*box);
      } else if (auto* const fileDialog = qobject_cast<QFileDialog*>(dialog)) {
        answer(*fileDialog);
      } else {
        qFatal("a modal %s that nobody answers", dialog->metaObject()->className());
      }
    });
  }

  void answer(QMessageBox& box) {
    messages_ << ShownMessage{box.icon(), box.windowTitle(), box.text(), box.isModal(), box.parent()};
    QAbstractButton* button = box.button(QMessageBox::Ok);
    if (button == nullptr) {
      button = box.button(QMessageBox::Yes);
    }
    if (button == nullptr) {
      qFatal("a message box with neither OK nor Yes");
    }
    button->click();
  }

  void answer(QFileDialog& dialog) {
    fileDialogs_ << ShownFileDialog{dialog.windowTitle(), dialog.nameFilters(), dialog.acceptMode(), dialog.isModal(),
                                    dialog.parent()};
    if (files_.isEmpty()) {
      dialog.reject();
      return;
    }
    auto* const name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    const auto* const buttons = dialog.findChild<QDialogButtonBox*>(QStringLiteral("buttonBox"));
    if (name == nullptr || buttons == nullptr) {
      qFatal("a file dialog that is not Qt's own");
    }
    name->setText(files_.takeFirst());
    buttons->button(dialog.acceptMode() == QFileDialog::AcceptSave ? QDialogButtonBox::Save : QDialogButtonBox::Open)
        ->click();
  }

  DialogAnswers* previous_;
  QObject context_;  // stops the timer when destroyed
  QStringList files_;
  QVector<ShownMessage> messages_;
  QVector<ShownFileDialog> fileDialogs_;
};
