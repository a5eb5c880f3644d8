/// @file
/// The reading calls against a library that writes beyond its buffers. Input: two bytes
/// for the excess (up to 1023), four for the reported lengths, then the bytes written.
#include "audio/audio_calls.h"
#include "device/bytes.h"
#include "diag/diag_calls.h"
#include "edid/edid_calls.h"
#include "firmware/provisioning_calls.h"
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "session/identity_calls.h"
#include "tests/support/overlong_library.h"
#include "video/video_calls.h"

#include <QByteArray>

namespace {

void readNumbers(std::uint8_t first) {
  fuzz::require(*audio::readFormat() == first && *audio::readSamplingRate() == first, "audio codes are the first byte");
  fuzz::require(*audio::readHeadphoneMute() == (first != 0), "mute is the first byte");
  fuzz::require((*video::readInputSource() == video::InputSource::kHdmi) == (first == 0), "source is the first byte");
  fuzz::require(*video::readOutputFormat() == first, "the format is the first byte");
  fuzz::require(*edid::readMode() == first && *edid::readDefaultSlot() == first, "EDID settings are the first byte");
  fuzz::require(*diag::readPin(diag::GpioGroup::kIso, 0) == first, "a pin is the first byte");
  fuzz::require(*session::readMcuVersion() == first, "the version is the first byte");
  fuzz::require((*audio::readReceiverGain() & 0xFF) == first && (*audio::readHeadphoneGain() & 0xFF) == first,
                "gains begin with the first byte");
  fuzz::require((*video::readTransmitterHotPlug() & 0xFF) == first, "hot-plug begins with the first byte");
  fuzz::require((video::readOutputTiming()->width & 0xFF) == first, "the timing begins with the first byte");
  fuzz::require(video::readHdcpVersions()->receiver == first, "HDCP codes begin with the first byte");
  fuzz::require(video::readReceiverRecord()->flags == first, "the record begins with the first byte");
}

void readTexts() {
  fuzz::require(session::readCaptureVersion()->size() <= 128, "the capture version ends with its buffer");
  fuzz::require(session::readUvcName()->text.size() <= 100, "the name ends with its buffer");
  fuzz::require(firmware::readSerialNumber()->text.size() <= 100, "the serial number ends with its buffer");
  for (const auto& read : {session::readManufacturer(), session::readProduct()}) {
    fuzz::require(!read || read->text.size() <= 100, "a USB string ends with its buffer");
  }
  for (const edid::TableSize size : {edid::TableSize::k256, edid::TableSize::k384, edid::TableSize::k512}) {
    for (const auto& table : {edid::readFlashTable(0, size), edid::readSinkTable(size), edid::readDdcTable(size)}) {
      fuzz::require(table->size() == static_cast<int>(size), "a table is as long as asked for");
    }
  }
  fuzz::require(diag::readRegister(0x50, QByteArray(1, '\0'), 4)->size() == 4, "four bytes are read");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input({data, size});
  const std::size_t excess = device::readU16le(input.take(2), 0) % 1024U;
  const auto length = static_cast<std::int32_t>(device::readU32le(input.take(4), 0));
  const std::vector<std::uint8_t> answer(input.rest().begin(), input.rest().end());
  overlong::behave(answer, excess, length);
  readNumbers(answer.empty() ? 0x41 : answer.front());
  readTexts();
  return 0;
}
