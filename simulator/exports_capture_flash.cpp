#include "device/RTICE_SDK_x64.h"
#include "simulator/arguments.h"
#include "simulator/host_file.h"
#include "simulator/library.h"
#include "simulator/status.h"

#include <algorithm>
#include <utility>

using simulator::CaptureFlash;
using simulator::Device;
using simulator::Library;

int32_t burnToFlash(const char* path, RTICE_ProgressCallback progress) {
  return Library::instance().longCall({__func__, simulator::quoted(path)}, [&](Library::LongCall& burn) {
    if (!path || !progress) {
      return simulator::kInvalidArgument;
    }
    auto image = simulator::readHostFile(path, CaptureFlash::kCapacity);
    if (!image) {
      return simulator::kBadFile;
    }
    int32_t status = burn.step([](Device& device) {
      if (device.flash.isBurning()) {
        return simulator::kBusy;
      }
      device.flash.beginBurn();
      return simulator::kOk;
    });
    if (status != simulator::kOk) {
      return status;
    }
    progress(0.0F);
    burn.wait(CaptureFlash::kEraseTime);

    for (std::size_t done = 0; done < image->size() && status == simulator::kOk;) {
      burn.wait(CaptureFlash::kPieceTime);
      // Each piece fails when the device has gone meanwhile.
      status = burn.step([](Device&) { return simulator::kOk; });
      if (status == simulator::kOk) {
        done = std::min(done + CaptureFlash::kPieceSize, image->size());
        progress(static_cast<float>(done) * 100.0F / static_cast<float>(image->size()));
      }
    }
    if (status == simulator::kOk) {
      status = burn.step([&image](Device& device) {
        device.flash.finishBurn(std::move(*image));
        return simulator::kOk;
      });
    }
    if (status != simulator::kOk) {
      burn.cleanUp([](Device& device) { device.flash.abandonBurn(); });
    }
    return status;
  });
}
