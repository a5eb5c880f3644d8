#include "firmware/update_capture_thread.h"

#include "app/main_window.h"
#include "app/message_line.h"
#include "app/program_state.h"
#include "device/RTICE_SDK_x64.h"
#include "firmware/capture_progress.h"

namespace {

// The library gives no context to its callback, hence the program-wide value.
void storeProgress(float percent) { burnProgress.store(firmware::wholePercent(percent), std::memory_order_relaxed); }

}  // namespace

UpdateCaptureThread::UpdateCaptureThread(QObject* parent)
    : QThread(parent),
      window_(static_cast<MainWindow*>(parent)),
      path_(window_->capFirmwarePath.toUtf8()),
      messageLine_(window_->messageLine) {}

UpdateCaptureThread::~UpdateCaptureThread() { qDebug("Update Capture exit"); }

void UpdateCaptureThread::run() {
  burnProgress.store(0, std::memory_order_relaxed);
  // Shared, not borrowed: the object may be deleted as soon as this has ended.
  const QByteArray path = path_;
  const std::shared_ptr<MessageLine> line = messageLine_;
  const bool done = burnToFlash(path.constData(), &storeProgress) == 0;
  line->post(done ? QStringLiteral("Burn CAP...[OK]") : QStringLiteral("Burn CAP...[Fail]"));
}
