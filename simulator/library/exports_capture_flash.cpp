#include "device/RTICE_SDK_x64.h"
#include "simulator/device/host_file.h"
#include "simulator/device/status.h"
#include "simulator/library/journal_text.h"
#include "simulator/library/library.h"

#include <optional>
#include <utility>

using simulator::CaptureFlash;
using simulator::Device;
using simulator::Library;

namespace {

/// How far a burn is.
struct Progress {
  bool isDone;
  float percent;
  std::chrono::milliseconds stepTime;  ///< of its next step
};

/// Tells the caller of a burn how far it is.
class Reporter {
 public:
  explicit Reporter(RTICE_ProgressCallback callback)
      : callback_(callback), replaced_(Library::instance().burnControl().replacedReports()) {
    if (replaced_) {
      for (const float percent : *replaced_) {
        send(percent);
      }
    }
  }

  void report(float percent) {
    if (!replaced_) {
      send(percent);
    }
  }

 private:
  void send(float percent) {
    callback_(percent);
    Library::instance().burnControl().reported(++reports_);
  }

  RTICE_ProgressCallback callback_;
  std::optional<std::vector<float>> replaced_;
  unsigned reports_ = 0;
};

}  // namespace

int32_t burnToFlash(const char* path, RTICE_ProgressCallback report) {
  return Library::instance().longCall({__func__, simulator::quoted(path)}, [&](Library::LongCall& call) {
    if (!path || !report) {
      return simulator::kInvalidArgument;
    }
    auto image = simulator::readHostFile(path, CaptureFlash::kCapacity);
    if (!image) {
      return simulator::kBadFile;
    }
    unsigned burn = 0;  // stays so when the device only pretends to begin
    Progress progress{};
    const auto look = [&progress](const CaptureFlash& flash) {
      progress = {flash.isDone(), flash.percent(), flash.stepTime()};
      return simulator::kOk;
    };

    int32_t status = call.step([&](Device& device) {
      if (device.transfers.ignoresWrite()) {
        return simulator::kOk;
      }
      const auto begun = device.flash.beginBurn(std::move(*image));
      if (!begun) {
        return simulator::kBurnRunning;
      }
      burn = *begun;
      return look(device.flash);
    });
    if (status != simulator::kOk || burn == 0) {
      return status;
    }
    Reporter reporter(report);
    reporter.report(progress.percent);
    while (status == simulator::kOk && !progress.isDone) {
      call.wait(progress.stepTime);
      status = call.step([&](Device& device) {
        const int32_t result = device.flash.step(burn, device.faults, device.transfers);
        return result == simulator::kOk ? look(device.flash) : result;
      });
      if (status == simulator::kOk) {
        reporter.report(progress.percent);
      }
    }
    if (status == simulator::kOk) {
      status = call.step([&](Device& device) { return device.flash.finishBurn(burn); });
    }
    call.cleanUp([&](Device& device) { device.flash.abandonBurn(burn); });
    return status;
  });
}
