#pragma once

#include <QByteArray>
#include <QThread>

#include <memory>

class MainWindow;
class MessageLine;

/// Runs one upgrade of the external MCU's firmware and shows its course in the
/// message line. It may outlive the window: while it runs it reads nothing of it.
class UpdateThread : public QThread {
  Q_OBJECT
  Q_DISABLE_COPY(UpdateThread)

 public:
  /// @param parent the main window; GUI thread
  explicit UpdateThread(QObject* parent);
  ~UpdateThread() override;

  /// What is shown when there is no thread or no memory for an upgrade.
  static QString failedText();

 protected:
  void run() override;

 private:
  MainWindow* window_;  // for the constructor only: it may die before `run` ends
  QByteArray image_;
  bool connected_;
  std::shared_ptr<MessageLine> messageLine_;
};
