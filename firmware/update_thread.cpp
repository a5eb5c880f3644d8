#include "firmware/update_thread.h"

#include "app/main_window.h"
#include "app/message_line.h"
#include "firmware/ext_mcu_upgrade.h"
#include "firmware/upgrade_texts.h"

#include <chrono>
#include <new>

UpdateThread::UpdateThread(QObject* parent)
    : QThread(parent),
      window_(qobject_cast<MainWindow*>(parent)),
      image_(window_->extMcuFirmwareImage),
      connected_(window_->isConnected),
      messageLine_(window_->messageLine) {}

UpdateThread::~UpdateThread() { qDebug("Update exit"); }

QString UpdateThread::failedText() { return QStringLiteral("Error MCU status...[fail]"); }

void UpdateThread::run() {
  qDebug("Run test");
  // Shared, not borrowed: the object may be deleted as soon as this has ended.
  const QByteArray image = image_;
  const std::shared_ptr<MessageLine> line = messageLine_;
  try {
    const std::span bytes(reinterpret_cast<const std::uint8_t*>(image.constData()),
                          static_cast<std::size_t>(image.size()));
    firmware::upgradeExtMcu(
        bytes, connected_,
        [](std::chrono::milliseconds time) { QThread::msleep(static_cast<unsigned long>(time.count())); },
        [&line](const firmware::UpgradeEvent& event) {
          for (const QString& text : firmware::windowTexts(event)) {
            line->post(text);
          }
        });
  } catch (const std::bad_alloc&) {
    line->post(failedText());
  }
}
