#include "firmware/update_thread.h"

#include "app/main_window.h"
#include "app/message_line.h"
#include "firmware/ext_mcu_upgrade.h"

#include <QDebug>

#include <chrono>

UpdateThread::UpdateThread(QObject* parent)
    : QThread(parent),
      window_(qobject_cast<MainWindow*>(parent)),
      image_(window_->extMcuFirmwareImage),
      connected_(window_->isConnected),
      messageLine_(window_->messageLine) {}

UpdateThread::~UpdateThread() { qDebug() << "Update exit"; }

void UpdateThread::run() {
  qDebug() << "Run test";
  const std::span image(reinterpret_cast<const std::uint8_t*>(image_.constData()),
                        static_cast<std::size_t>(image_.size()));
  firmware::upgradeExtMcu(
      image, connected_,
      [](std::chrono::milliseconds time) { QThread::msleep(static_cast<unsigned long>(time.count())); },
      [this](const QString& text) { messageLine_->post(text); });
}
