#pragma once

#include <QString>
#include <QThread>

#include <memory>

class MainWindow;
class MessageLine;

/// Burns the capture firmware image that is chosen in the window when the
/// thread is made, and shows the outcome in the message line. It may outlive
/// the window: while it runs it reads nothing of it.
class UpdateCaptureThread : public QThread {
  Q_OBJECT
  Q_DISABLE_COPY(UpdateCaptureThread)

 public:
  /// @param parent the main window; GUI thread
  explicit UpdateCaptureThread(QObject* parent);
  ~UpdateCaptureThread() override;

  /// What is shown when a burn failed, or there is no thread or memory for one.
  static QString failedText();

 protected:
  void run() override;

 private:
  MainWindow* window_;  // for the constructor only: it may die before `run` ends
  QString path_;
  std::shared_ptr<MessageLine> messageLine_;
};
