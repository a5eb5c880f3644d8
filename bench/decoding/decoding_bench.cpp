/// @file
/// What processing bytes costs: a receiver record, a boot loader packet, an EDID table,
/// the search for a model's name in an image.
#include "device/boot_packet.h"
#include "edid/edid_check.h"
#include "firmware/capture_image.h"
#include "simulator/samples/samples.h"
#include "video/rx_timing.h"

#include <QTemporaryFile>
#include <benchmark/benchmark.h>

#include <array>

namespace {

void decodeReceiverRecord(benchmark::State& state) {
  std::array<std::uint8_t, video::kRawTimingInfoBytes> bytes{};
  bytes.fill(1);
  for ([[maybe_unused]] auto _ : state) {
    const auto record = video::readRawTimingInfo(bytes);
    for (int field = 0; field <= static_cast<int>(video::RxField::kHdrType); ++field) {
      benchmark::DoNotOptimize(video::fieldText(static_cast<video::RxField>(field), *record));
    }
  }
}
BENCHMARK(decodeReceiverRecord);

void buildDataPacket(benchmark::State& state) {
  std::array<std::uint8_t, 64> payload{};
  payload.fill(0xA5);
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(device::bootPacket(device::BootCommand::kData, payload));
  }
}
BENCHMARK(buildDataPacket);

std::vector<std::uint8_t> sampleTable() {
  for (const samples::Sample& sample : samples::all()) {
    if (sample.name == "edid-1080p.bin") {
      return {sample.content.begin(), sample.content.end()};
    }
  }
  return {};
}

void checkEdid(benchmark::State& state) {
  const std::vector<std::uint8_t> table = sampleTable();
  if (table.size() != 256) {
    state.SkipWithError("there is no sample table");
  }
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(edid::checkTable(table));
  }
}
BENCHMARK(checkEdid);

void searchImage(benchmark::State& state) {
  // Written, not just resized, because the search skips holes.
  QTemporaryFile file;
  const QByteArray block(1 << 20, 'x');
  if (!file.open()) {
    state.SkipWithError("no temporary file can be made");
  }
  for (int i = 0; i < 64; ++i) {
    file.write(block);
  }
  file.flush();
  for ([[maybe_unused]] auto _ : state) {
    file.seek(0);
    benchmark::DoNotOptimize(firmware::containsText(file, QByteArrayLiteral("KVR-7")));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * file.size());
}
BENCHMARK(searchImage)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
