#pragma once

#include <QProcess>
#include <QStringList>

/// A virtual screen that tells a resolution, as long as this lives. XVFB is the
/// server's path.
class VirtualScreen {
 public:
  explicit VirtualScreen(int dpi) {
    server_.start(XVFB, {"-displayfd", "1", "-screen", "0", "1600x1600x24", "-dpi", QString::number(dpi), "-nolisten",
                         "tcp", "-noreset"});
    if (!server_.waitForStarted() || !server_.waitForReadyRead()) {
      qFatal("%s does not start: %s", XVFB, server_.readAllStandardError().constData());
    }
    name_ = ":" + QString::fromLatin1(server_.readAllStandardOutput().trimmed());
  }
  Q_DISABLE_COPY_MOVE(VirtualScreen)
  ~VirtualScreen() {
    server_.terminate();
    server_.waitForFinished();
  }

  QString name() const { return name_; }

 private:
  QProcess server_;
  QString name_;
};
