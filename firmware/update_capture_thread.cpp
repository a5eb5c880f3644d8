#include "firmware/update_capture_thread.h"

#include "app/main_window.h"
#include "app/message_line.h"
#include "app/program_state.h"
#include "firmware/capture_burn.h"
#include "firmware/capture_progress.h"

#include <new>

namespace {

// The library gives no context to its callback, hence the program-wide value.
void storeProgress(float percent) { burnProgress.store(firmware::wholePercent(percent), std::memory_order_relaxed); }

}  // namespace

UpdateCaptureThread::UpdateCaptureThread(QObject* parent)
    : QThread(parent),
      window_(qobject_cast<MainWindow*>(parent)),
      path_(window_->capFirmwarePath),
      messageLine_(window_->messageLine) {}

UpdateCaptureThread::~UpdateCaptureThread() { qDebug("Update Capture exit"); }

QString UpdateCaptureThread::failedText() { return QStringLiteral("Burn CAP...[Fail]"); }

void UpdateCaptureThread::run() {
  // Shared, not borrowed: the object may be deleted as soon as this has ended.
  const QString path = path_;
  const std::shared_ptr<MessageLine> line = messageLine_;
  try {
    burnProgress.store(0, std::memory_order_relaxed);
    const auto burnt = firmware::burnCapture(path, &storeProgress);
    line->post(burnt ? QStringLiteral("Burn CAP...[OK]") : failedText());
  } catch (const std::bad_alloc&) {
    line->post(failedText());
  }
}
